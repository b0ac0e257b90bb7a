// Bitmap resources. The input stands in the place of every resource of every module.
#include "VideoFrame/Raster.h"
#include "fuzz/Input.h"

namespace {

fuzz::Bytes resource;

/// Large pictures take time and have nothing that small ones, and long ones of one line, do not.
bool IsLarge() {
    BITMAPINFOHEADER header{};
    std::memcpy(&header, resource.data(), std::min(resource.size(), sizeof header));
    const auto width = static_cast<std::int16_t>(header.biWidth);
    const auto height = static_cast<std::int16_t>(header.biHeight);
    return width * height > (height == 1 ? 0x8000 : 0x800);
}

}  // namespace

HRSRC FindResourceW(HMODULE, LPCWSTR, LPCWSTR) {
    return static_cast<HRSRC>(static_cast<void*>(&resource));
}

HGLOBAL LoadResource(HMODULE, HRSRC inResource) {
    return static_cast<HGLOBAL>(static_cast<void*>(inResource));
}

LPVOID LockResource(HGLOBAL) {
    return resource.data();
}

DWORD SizeofResource(HMODULE, HRSRC) {
    return static_cast<DWORD>(resource.size());
}

void fuzz::Run(Input inInput) {
    const bool isScaled = inInput.Flag();
    const tagRECT rect{0, 0, inInput.Between(-4, 70), inInput.Between(-4, 70)};
    resource = inInput.Rest();
    if (resource.empty() || IsLarge()) return;
    const TPixHand record = Bmp2TPix(MAKEINTRESOURCEW(1), nullptr, isScaled ? &rect : nullptr);
    if (record) tpixDispose(record);
}

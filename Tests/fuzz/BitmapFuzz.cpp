// Bitmap resources. The input stands in the place of every resource of every module.
#include "VideoFrame/Raster.h"
#include "fuzz/Input.h"

namespace {

fuzz::Bytes resource;

enum class Size { small, oneLongLine, large };

Size PictureSize() {
    BITMAPINFOHEADER header{};
    std::memcpy(&header, resource.data(), std::min(resource.size(), sizeof header));
    const auto width = static_cast<std::int16_t>(header.biWidth);
    const auto height = static_cast<std::int16_t>(header.biHeight);
    if (width * height <= 0x100) return Size::small;
    return height == 1 ? Size::oneLongLine : Size::large;
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
    bool isScaled = inInput.Between(0, 7) == 7;
    const tagRECT rect{0, 0, inInput.Between(-2, 18), inInput.Between(-2, 18)};
    resource = inInput.Rest();
    if (resource.empty()) return;
    // Large pictures take time and have nothing that small ones, and long ones of one line, do not;
    // scaling takes more of it and is the renderer's.
    const Size size = PictureSize();
    if (size == Size::large) return;
    isScaled &= size == Size::small;
    const TPixHand record = Bmp2TPix(MAKEINTRESOURCEW(1), nullptr, isScaled ? &rect : nullptr);
    if (record) tpixDispose(record);
}

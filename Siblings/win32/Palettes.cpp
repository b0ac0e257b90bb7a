// Palettes, and the colours that the system keeps for itself.

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <vector>

#include "Contexts.h"

namespace {

constexpr WORD kVersion = 0x300;
constexpr WORD kMostEntries = 1024;
constexpr std::size_t kScreenEntries = 256;
constexpr std::size_t kEndEntries = 10;  // at each end of the screen's palette

struct Palette : win32::GraphicsObject {
    explicit Palette(std::span<const PALETTEENTRY> inEntries)
        : entries(inEntries.begin(), inEntries.end()) {}

    const std::vector<PALETTEENTRY> entries;
};

using ScreenPalette = std::array<PALETTEENTRY, kScreenEntries>;

constexpr ScreenPalette MakeScreenPalette() {
    constexpr PALETTEENTRY kFirst[kEndEntries] = {
        {0, 0, 0, 0},       {128, 0, 0, 0},    {0, 128, 0, 0},   {128, 128, 0, 0},
        {0, 0, 128, 0},     {128, 0, 128, 0},  {0, 128, 128, 0}, {192, 192, 192, 0},
        {192, 220, 192, 0}, {166, 202, 240, 0}};
    constexpr PALETTEENTRY kLast[kEndEntries] = {
        {255, 251, 240, 0}, {160, 160, 164, 0}, {128, 128, 128, 0}, {255, 0, 0, 0},
        {0, 255, 0, 0},     {255, 255, 0, 0},   {0, 0, 255, 0},     {255, 0, 255, 0},
        {0, 255, 255, 0},   {255, 255, 255, 0}};
    ScreenPalette palette{};
    std::copy(std::begin(kFirst), std::end(kFirst), palette.begin());
    std::copy(std::begin(kLast), std::end(kLast), palette.end() - kEndEntries);
    return palette;
}

UINT CopyEntries(std::span<const PALETTEENTRY> inEntries, UINT inStart, UINT inCount,
                 PALETTEENTRY* outEntries) {
    if (!outEntries) return static_cast<UINT>(inEntries.size());
    if (inStart >= inEntries.size()) return 0;
    const std::size_t count = std::min<std::size_t>(inCount, inEntries.size() - inStart);
    std::copy_n(inEntries.begin() + inStart, count, outEntries);
    return static_cast<UINT>(count);
}

int Distance(const PALETTEENTRY& inEntry, COLORREF inColour) {
    const auto square = [&](BYTE component, int shift) {
        const int difference = component - static_cast<int>(inColour >> shift & 255);
        return difference * difference;
    };
    return square(inEntry.peRed, 0) + square(inEntry.peGreen, 8) + square(inEntry.peBlue, 16);
}

}  // namespace

using namespace win32;

HPALETTE CreatePalette(const LOGPALETTE* inPalette) {
    if (!inPalette || inPalette->palVersion != kVersion) return nullptr;
    const WORD count = inPalette->palNumEntries;
    if (count == 0 || count > kMostEntries) return nullptr;
    return static_cast<HPALETTE>(
        Make<Palette>(std::span<const PALETTEENTRY>(inPalette->palPalEntry, count)));
}

UINT GetPaletteEntries(HPALETTE inPalette, UINT inStart, UINT inCount, PALETTEENTRY* outEntries) {
    const auto palette = LockedObjects()->Find<Palette>(inPalette);
    return palette ? CopyEntries(palette->entries, inStart, inCount, outEntries) : 0;
}

UINT GetNearestPaletteIndex(HPALETTE inPalette, COLORREF inColour) {
    const auto palette = LockedObjects()->Find<Palette>(inPalette);
    if (!palette) return CLR_INVALID;
    const auto& entries = palette->entries;
    const auto nearest =
        std::min_element(entries.begin(), entries.end(),
                         [inColour](const PALETTEENTRY& left, const PALETTEENTRY& right) {
                             return Distance(left, inColour) < Distance(right, inColour);
                         });
    return static_cast<UINT>(nearest - entries.begin());
}

UINT GetSystemPaletteEntries(HDC inContext, UINT inStart, UINT inCount, PALETTEENTRY* outEntries) {
    static constexpr ScreenPalette kScreen = MakeScreenPalette();
    if (!LockedObjects()->Find<Context>(inContext)) return 0;
    return CopyEntries(kScreen, inStart, inCount, outEntries);
}

int GetObjectW(HGDIOBJ inObject, int inBytes, LPVOID outObject) {
    const auto palette = LockedObjects()->Find<Palette>(inObject);
    if (!palette || !outObject || inBytes < static_cast<int>(sizeof(WORD))) return 0;
    const auto count = static_cast<WORD>(palette->entries.size());
    std::memcpy(outObject, &count, sizeof count);
    return sizeof count;
}

// vframe quantise: pictures as indexed bitmaps.

#include <cstring>
#include <filesystem>
#include <memory>

#include "Canvas.h"
#include "Commands.h"
#include "Failure.h"
#include "Interrupt.h"
#include "LibrarySession.h"
#include "OutputFile.h"
#include "PictureSource.h"
#include "Progress.h"

namespace vframe {
namespace {
namespace fs = std::filesystem;

constexpr int kFewestColours = 2;
constexpr int kMostColours = 256;

struct QuantiseArguments {
    std::string input;
    std::string output;
    int colours = kMostColours;
};

struct DeletePalette {
    void operator()(HPALETTE inPalette) const { DeleteObject(inPalette); }
};
using PaletteOwner = std::unique_ptr<std::remove_pointer_t<HPALETTE>, DeletePalette>;

/// What stands in front of the bitmap in a file.
#pragma pack(push, 2)
struct FileHeader {
    char type[2] = {'B', 'M'};
    DWORD size = 0;
    DWORD reserved = 0;
    DWORD bitsOffset = 0;
};
#pragma pack(pop)
static_assert(sizeof(FileHeader) == 14);

BITMAPINFOHEADER HeaderOf(Size inSize, WORD inBits) {
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = inSize.width;
    header.biHeight = inSize.height;
    header.biPlanes = 1;
    header.biBitCount = inBits;
    return header;
}

/// The file of one frame: its palette and an index for each pixel, the bottom row first.
std::string QuantisedFile(const VF::VideoFrameRef& inFrame, int inColours) {
    const RecordOwner record = MakeShownRecord(inFrame);
    const Size size = FrameSize(inFrame);
    const void* const pixels = tpixGetPixels(record.get());
    const BITMAPINFOHEADER source = HeaderOf(size, 32);
    std::vector<std::uint32_t> histogram(32768);
    Histogram32Hist(pixels, size.width, size.height,
                    static_cast<std::int16_t>(tpixGetRowbytes(record.get())), histogram.data());
    std::vector<std::uint8_t> lookup(histogram.size());
    const PaletteOwner palette(HistogramToPalette(histogram.data(), lookup.data(), inColours));
    if (!palette) throw std::bad_alloc();

    BITMAPINFOHEADER header = HeaderOf(size, 8);
    header.biClrUsed = GetPaletteEntries(palette.get(), 0, 0, nullptr);
    std::vector<PALETTEENTRY> entries(header.biClrUsed);
    GetPaletteEntries(palette.get(), 0, header.biClrUsed, entries.data());
    FileHeader file;
    file.bitsOffset = static_cast<DWORD>(sizeof file + sizeof header + 4 * entries.size());
    const std::size_t rowBytes = (static_cast<std::size_t>(size.width) + 3) / 4 * 4;
    const std::size_t bytes = file.bitsOffset + rowBytes * static_cast<std::size_t>(size.height);
    file.size = static_cast<DWORD>(bytes);
    std::string data(bytes, '\0');
    std::memcpy(data.data(), &file, sizeof file);
    std::memcpy(data.data() + sizeof file, &header, sizeof header);
    char* place = data.data() + sizeof file + sizeof header;
    for (const PALETTEENTRY& entry : entries) {
        const RGBQUAD colour{entry.peBlue, entry.peGreen, entry.peRed, 0};
        std::memcpy(place, &colour, sizeof colour);
        place += sizeof colour;
    }
    ReducePixels(&source, pixels, &header, place, palette.get(), lookup.data());
    return data;
}

void WriteFile(const std::string& inPath, const std::string& inData) {
    OutputFile output(inPath);
    output.Write(inData.data(), inData.size());
    output.Commit();
}

/// "out.bmp" becomes "out-0001.bmp".
std::string Numbered(const std::string& inPath, std::int64_t inNumber) {
    const fs::path path(inPath);
    char number[32];
    std::snprintf(number, sizeof number, "-%04lld", static_cast<long long>(inNumber));
    return (path.parent_path() / (path.stem().string() + number + path.extension().string()))
        .string();
}

void Quantise(const QuantiseArguments& inArguments) {
    if (EndingOf(inArguments.output) != ".bmp")
        throw UsageFailure(inArguments.output, "indexed pictures are written as .bmp");
    const LibrarySession session;
    const auto source = OpenMedia(inArguments.input);
    const PictureView first = FirstPicture(*source, inArguments.input);
    Progress progress(source->Count());
    std::int64_t number = 1;
    for (std::optional<PictureView> next = first; next; next = source->Next(), ++number) {
        ThrowIfInterrupted();
        const std::string path =
            source->IsStill() ? inArguments.output : Numbered(inArguments.output, number);
        WriteFile(path, QuantisedFile(MakeFrameOf(*next, {}), inArguments.colours));
        progress.Step();
    }
}

}  // namespace

void AddQuantiseCommand(CLI::App& inApp) {
    const auto arguments = std::make_shared<QuantiseArguments>();
    CLI::App* const command =
        inApp.add_subcommand("quantise", "Reduce a picture or clip to few colours");
    command->add_option("INPUT", arguments->input, "A picture or clip")->required();
    command->add_option("OUTPUT", arguments->output, "An 8-bit .bmp picture")->required();
    command
        ->add_option("--colours", arguments->colours,
                     "At most so many, 2 to 256; more than 236 are 236 and the 20 of old systems "
                     "[256]")
        ->type_name("N")
        ->check(CLI::Range(kFewestColours, kMostColours));
    command->footer(
        "The colours of a clip are those of each frame, whose pictures are numbered:\n"
        "out-0001.bmp, out-0002.bmp and so on.\n\n"
        "Example:\n"
        "  vframe quantise holiday.jpg poster.bmp --colours 16");
    command->callback([arguments] { Quantise(*arguments); });
}

}  // namespace vframe

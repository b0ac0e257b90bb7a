// Conversions that keep the colour, copies and fills.
#include <libyuv.h>

#include <cstring>
#include <opencv2/imgproc.hpp>

#include "Pictures.h"
#include "Table.h"
#include "contracts/Scanvo.h"

namespace bench {
namespace {

constexpr std::uint32_t kBgra = 0x004;
constexpr std::uint32_t kBgraPremultiplied = 0x008;
constexpr std::uint32_t kArgb = 0x1004;
constexpr std::uint32_t kBgra15 = 0x084;
constexpr std::uint32_t kBgraFloat = 0x104;
constexpr std::uint32_t kBgraFloatPremultiplied = 0x108;

// An odd multiple of a vector's length, as pictures get that are cut out of larger ones.
constexpr int kPadding = 64;

int PixelBytes(std::uint32_t inFormat) {
    return (inFormat & 0x100) != 0 ? 16 : (inFormat & 0x80) != 0 ? 8 : 4;
}

// Pictures to read, of each depth, and one to write, which all rows share.
class Memory {
  public:
    const std::uint8_t* Source(std::uint32_t inFormat) const {
        return inFormat & 0x100  ? floats_.Bytes()
               : inFormat & 0x80 ? words_.Bytes()
                                 : bytes_.Bytes();
    }
    std::uint8_t* Destination() const { return destination_.Bytes(); }

    static const Memory& Shared() {
        static const Memory memory;
        return memory;
    }

  private:
    static Buffer Largest(int inPixelBytes) {
        constexpr Size kLargest = {kSizes[1].width + kPadding, kSizes[1].height, ""};
        return PictureOf(kLargest, static_cast<std::size_t>(inPixelBytes));
    }

    Memory() {
        const Size size = kSizes[1];
        const int count = size.width * size.height * 4;
        auto* const words = reinterpret_cast<std::uint16_t*>(words_.Bytes());
        for (int i = 0; i < count; ++i) {
            words[i] &= 0x7FFF;
            floats_.Floats()[i] = static_cast<float>(words[i]) / 32768;
        }
    }

    Buffer bytes_ = Largest(4);
    Buffer words_ = Largest(8);
    Buffer floats_ = Largest(16);
    Buffer destination_ = Largest(16);
};

// The areas of one row of the table.
struct Areas {
    Size size;
    std::uint32_t fromFormat;
    std::uint32_t toFormat;
    int padding = 0;

    const std::uint8_t* From() const { return Memory::Shared().Source(fromFormat); }
    std::uint8_t* To() const { return Memory::Shared().Destination(); }
    int FromRowBytes() const { return size.width * PixelBytes(fromFormat) + padding; }
    int ToRowBytes() const { return size.width * PixelBytes(toFormat) + padding; }
    std::size_t ToBytes() const {
        return static_cast<std::size_t>(ToRowBytes()) * static_cast<std::size_t>(size.height);
    }

    cv::Mat FromMat() const {
        return {size.height, size.width, Type(fromFormat), const_cast<std::uint8_t*>(From()),
                static_cast<std::size_t>(FromRowBytes())};
    }
    cv::Mat ToMat() const {
        return {size.height, size.width, Type(toFormat), To(),
                static_cast<std::size_t>(ToRowBytes())};
    }

  private:
    static int Type(std::uint32_t inFormat) {
        return (inFormat & 0x100) != 0 ? CV_32FC4 : (inFormat & 0x80) != 0 ? CV_16UC4 : CV_8UC4;
    }
};

using Work = std::function<void(const Areas&)>;

Run Running(const Areas& inAreas, const Work& inWork) {
    return [inAreas, inWork](benchmark::State& inState) {
        cv::setNumThreads(1);
        for (auto _ : inState) {
            inWork(inAreas);
            benchmark::ClobberMemory();
        }
    };
}

struct Peer {
    const char* name;
    Work work;
};

void AddAreaRows(const std::string& inWork, const Areas& inAreas, const Work& inOurs,
                 const std::vector<Peer>& inPeers) {
    for (const Size& size : kSizes) {
        Areas areas = inAreas;
        areas.size = size;
        std::vector<Contestant> peers;
        for (const Peer& peer : inPeers)
            peers.push_back({peer.name, Running(areas, peer.work)});
        AddRow(inWork + ", " + size.name, Running(areas, inOurs), peers);
    }
}

void Convert(const Areas& inAreas) {
    SV_Convert(inAreas.From(), inAreas.FromRowBytes(), SV_PixelFormat{inAreas.fromFormat},
               inAreas.To(), inAreas.ToRowBytes(), SV_PixelFormat{inAreas.toFormat},
               inAreas.size.width, inAreas.size.height, 4);
}

// ---- Peers --------------------------------------------------------------------------------------

using YuvCall = int (*)(const std::uint8_t*, int, std::uint8_t*, int, int, int);

Peer Libyuv(const char* inName, YuvCall inCall) {
    return {inName, [inCall](const Areas& areas) {
                inCall(areas.From(), areas.FromRowBytes(), areas.To(), areas.ToRowBytes(),
                       areas.size.width, areas.size.height);
            }};
}

Peer ConvertTo(double inScale) {
    return {"OpenCV convertTo", [inScale](const Areas& areas) {
                cv::Mat to = areas.ToMat();
                areas.FromMat().convertTo(to, to.depth(), inScale);
            }};
}

Peer CvtColor(const char* inName, int inCode) {
    return {inName, [inCode](const Areas& areas) {
                cv::Mat to = areas.ToMat();
                cv::cvtColor(areas.FromMat(), to, inCode);
            }};
}

void CopyRows(const Areas& inAreas) {
    const auto used = static_cast<std::size_t>(inAreas.size.width * PixelBytes(inAreas.toFormat));
    for (int row = 0; row < inAreas.size.height; ++row) {
        std::memcpy(inAreas.To() + std::ptrdiff_t{row} * inAreas.ToRowBytes(),
                    inAreas.From() + std::ptrdiff_t{row} * inAreas.FromRowBytes(), used);
    }
}

void CopyMat(const Areas& inAreas) {
    cv::Mat to = inAreas.ToMat();
    inAreas.FromMat().copyTo(to);
}

Peer SetTo(const cv::Scalar& inValue) {
    return {"OpenCV setTo", [inValue](const Areas& areas) { areas.ToMat().setTo(inValue); }};
}

Peer Rect(std::uint32_t inPixel) {
    return {"libyuv ARGBRect", [inPixel](const Areas& areas) {
                libyuv::ARGBRect(areas.To(), areas.ToRowBytes(), 0, 0, areas.size.width,
                                 areas.size.height, inPixel);
            }};
}

// ---- Rows ---------------------------------------------------------------------------------------

void AddConversions() {
    const struct {
        const char* work;
        std::uint32_t from, to;
        std::vector<Peer> peers;
    } kRows[] = {
        {"BGRA to ARGB", kBgra, kArgb, {Libyuv("libyuv ARGBToBGRA", libyuv::ARGBToBGRA)}},
        {"BGRA to float", kBgra, kBgraFloat, {ConvertTo(1.0 / 255)}},
        {"float to BGRA", kBgraFloat, kBgra, {ConvertTo(255)}},
        {"BGRA to 15-bit", kBgra, kBgra15, {ConvertTo(32768.0 / 255)}},
        {"15-bit to BGRA", kBgra15, kBgra, {ConvertTo(255.0 / 32768)}},
        {"15-bit to float", kBgra15, kBgraFloat, {ConvertTo(1.0 / 32768)}},
        {"float to 15-bit", kBgraFloat, kBgra15, {ConvertTo(32768)}},
        {"premultiply BGRA",
         kBgra,
         kBgraPremultiplied,
         {Libyuv("libyuv ARGBAttenuate", libyuv::ARGBAttenuate),
          CvtColor("OpenCV RGBA2mRGBA", cv::COLOR_RGBA2mRGBA)}},
        {"unpremultiply BGRA",
         kBgraPremultiplied,
         kBgra,
         {Libyuv("libyuv ARGBUnattenuate", libyuv::ARGBUnattenuate),
          CvtColor("OpenCV mRGBA2RGBA", cv::COLOR_mRGBA2RGBA)}},
        {"premultiply float BGRA", kBgraFloat, kBgraFloatPremultiplied, {}},
    };
    for (const auto& [work, from, to, peers] : kRows)
        AddAreaRows(work, {{}, from, to}, Convert, peers);
}

void AddCopies() {
    AddAreaRows(
        "copy BGRA", {{}, kBgra, kBgra}, Convert,
        {{"memcpy",
          [](const Areas& areas) { std::memcpy(areas.To(), areas.From(), areas.ToBytes()); }},
         {"OpenCV copyTo", CopyMat}});
    AddAreaRows("copy BGRA with row padding", {{}, kBgra, kBgra, kPadding}, Convert,
                {{"memcpy of rows", CopyRows}, {"OpenCV copyTo", CopyMat}});
    AddAreaRows("copy float BGRA", {{}, kBgraFloat, kBgraFloat}, Convert,
                {{"memcpy of rows", CopyRows}, {"OpenCV copyTo", CopyMat}});
}

void AddFills() {
    for (const int padding : {0, kPadding}) {
        const std::string suffix = padding == 0 ? "" : " with row padding";
        const Areas areas = {{}, kBgra, kBgra, padding};
        AddAreaRows("fill BGRA with opaque black" + suffix, areas,
                    [](const Areas& each) {
                        SV_FillWithOpaqueBlack(each.To(), each.ToRowBytes(), each.size.width,
                                               each.size.height, SV_PixelFormat{kBgra});
                    },
                    {Rect(0xFF000000), SetTo({0, 0, 0, 255})});
    }
    AddAreaRows("fill BGRA with transparent black", {{}, kBgra, kBgra},
                [](const Areas& each) {
                    SV_FillWithTransparentBlack(each.To(), each.ToRowBytes(), each.size.width,
                                                each.size.height, SV_PixelFormat{kBgra});
                },
                {{"memset", [](const Areas& each) { std::memset(each.To(), 0, each.ToBytes()); }},
                 Rect(0),
                 SetTo({0, 0, 0, 0})});
    AddAreaRows("fill float BGRA with a colour", {{}, kBgraFloat, kBgraFloat},
                [](const Areas& each) {
                    const float colour[] = {0.25f, 0.5f, 0.75f, 1};
                    SV_FillWithColor(each.To(), each.ToRowBytes(), each.size.width,
                                     each.size.height, SV_PixelFormat{kBgraFloat}, colour,
                                     SV_PixelFormat{kBgraFloat});
                },
                {SetTo({0.25, 0.5, 0.75, 1})});
}

}  // namespace

void AddDepthRows() {
    AddConversions();
    AddCopies();
    AddFills();
}

}  // namespace bench

#include "MediaReader.h"

#include <cstring>
#include <new>
#include <string_view>

namespace vframe {
namespace {

bool IsPictureFile(const AVInputFormat& inFormat) {
    const std::string_view name = inFormat.name;
    return name == "image2" || name.ends_with("_pipe");
}

bool IsDeep(AVPixelFormat inFormat) {
    const AVPixFmtDescriptor* const descriptor = av_pix_fmt_desc_get(inFormat);
    return descriptor && descriptor->comp[0].depth > 8;
}

bool IsFullRange(const AVFrame& inFrame) {
    if (inFrame.color_range != AVCOL_RANGE_UNSPECIFIED)
        return inFrame.color_range == AVCOL_RANGE_JPEG;
    const auto format = static_cast<AVPixelFormat>(inFrame.format);
    const AVPixFmtDescriptor* const descriptor = av_pix_fmt_desc_get(format);
    // Grey pictures, with or without alpha, and the old names of the JPEG formats.
    return descriptor->nb_components <= 2 || std::strncmp(descriptor->name, "yuvj", 4) == 0;
}

AVColorSpace Matrix(const AVFrame& inFrame) {
    return inFrame.colorspace == AVCOL_SPC_UNSPECIFIED ? UsualMatrix(inFrame.height)
                                                       : inFrame.colorspace;
}

tulomediatypes::FieldType FieldTypeOf(const AVFrame& inFrame) {
    if (!inFrame.interlaced_frame) return 0;
    return inFrame.top_field_first ? 1 : 2;
}

tulomediatypes::PixelAspectRatio AspectRatio(AVRational inRatio) {
    if (inRatio.num <= 0 || inRatio.den <= 0) return {1, 1};
    return {static_cast<std::uint32_t>(inRatio.num), static_cast<std::uint32_t>(inRatio.den)};
}

}  // namespace

MediaReader::MediaReader(const std::string& inPath) : path_(inPath) {
    OpenFile();
    OpenDecoder();
    packet_.reset(av_packet_alloc());
    decoded_.reset(av_frame_alloc());
    if (!packet_ || !decoded_) throw std::bad_alloc();
}

void MediaReader::OpenFile() {
    AVDictionary* options = nullptr;
    // The name is a file's, not an address or a pattern for a series of files.
    av_dict_set(&options, "pattern_type", "none", 0);
    AVFormatContext* context = nullptr;
    const int result = avformat_open_input(&context, ("file:" + path_).c_str(), nullptr, &options);
    av_dict_free(&options);
    if (result == AVERROR_INVALIDDATA) throw Failure(path_, "is no picture or clip");
    CheckMedia(result, path_);
    input_.reset(context);
    CheckMedia(avformat_find_stream_info(input_.get(), nullptr), path_);
}

void MediaReader::OpenDecoder() {
    const AVCodec* codec = nullptr;
    const int index = av_find_best_stream(input_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    if (index < 0) throw Failure(path_, "holds no picture that can be decoded");
    stream_ = input_->streams[index];
    decoder_.reset(avcodec_alloc_context3(codec));
    if (!decoder_) throw std::bad_alloc();
    CheckMedia(avcodec_parameters_to_context(decoder_.get(), stream_->codecpar), path_);
    decoder_->thread_count = 0;  // as many as there are processors
    // A damaged picture is refused; in a clip the decoder may conceal what is missing.
    if (IsPictureFile(*input_->iformat)) decoder_->err_recognition = AV_EF_CRCCHECK | AV_EF_EXPLODE;
    CheckMedia(avcodec_open2(decoder_.get(), codec, nullptr), path_);
}

std::optional<PictureView> MediaReader::Next() {
    if (!Decode()) return std::nullopt;
    return ToPicture();
}

bool MediaReader::Decode() {
    while (true) {
        const int result = avcodec_receive_frame(decoder_.get(), decoded_.get());
        if (result == AVERROR_EOF) return false;
        if (result == AVERROR_INVALIDDATA) throw Failure(path_, "is damaged");
        if (result != AVERROR(EAGAIN)) {
            CheckMedia(result, path_);
            return true;
        }
        FeedDecoder();
    }
}

void MediaReader::FeedDecoder() {
    int result = 0;
    do {
        av_packet_unref(packet_.get());
        result = av_read_frame(input_.get(), packet_.get());
    } while (result >= 0 && packet_->stream_index != stream_->index);
    if (result < 0 && result != AVERROR_EOF) throw Failure(path_, MediaError(result));
    // An empty packet tells the decoder that the file has ended.
    const int sent = avcodec_send_packet(decoder_.get(), result < 0 ? nullptr : packet_.get());
    if (sent == AVERROR_INVALIDDATA) throw Failure(path_, "is damaged");
    CheckMedia(sent, path_);
}

PictureView MediaReader::ToPicture() {
    const auto format = static_cast<AVPixelFormat>(decoded_->format);
    const bool isDeep = IsDeep(format);
    const AVPixelFormat target = isDeep ? AV_PIX_FMT_RGBA64 : AV_PIX_FMT_BGRA;
    if (!pixels_ || pixels_->width != decoded_->width || pixels_->height != decoded_->height ||
        pixels_->format != target)
        pixels_ = MakeMediaFrame(target, decoded_->width, decoded_->height);
    converter_.Convert(*decoded_, Matrix(*decoded_), IsFullRange(*decoded_), *pixels_);
    if (isDeep) WidenToFloat();

    const std::int64_t rowBytes =
        isDeep ? std::int64_t{pixels_->width} * 16 : std::int64_t{pixels_->linesize[0]};
    const auto* const top =
        isDeep ? reinterpret_cast<const std::uint8_t*>(deepPixels_.data()) : pixels_->data[0];
    const AVRational ratio = av_guess_sample_aspect_ratio(input_.get(), stream_, decoded_.get());
    return {.start = top + (pixels_->height - 1) * rowBytes,
            .rowBytes = -rowBytes,
            .size = {pixels_->width, pixels_->height},
            .format = VF::BEPixelFormatToSVPixelFormat(
                isDeep ? tulomediatypes::kPixelFormat_BGRA_4444_32f
                       : tulomediatypes::kPixelFormat_BGRA_4444_8u),
            .fieldType = FieldTypeOf(*decoded_),
            .aspectRatio = AspectRatio(ratio)};
}

void MediaReader::WidenToFloat() {
    const auto width = static_cast<std::size_t>(pixels_->width);
    deepPixels_.resize(width * static_cast<std::size_t>(pixels_->height) * 4);
    float* target = deepPixels_.data();
    for (int row = 0; row < pixels_->height; ++row) {
        const auto* source = reinterpret_cast<const std::uint16_t*>(
            pixels_->data[0] + std::ptrdiff_t{row} * pixels_->linesize[0]);
        for (std::size_t i = 0; i < width; ++i, source += 4, target += 4) {
            target[0] = static_cast<float>(source[2]) / 65535;
            target[1] = static_cast<float>(source[1]) / 65535;
            target[2] = static_cast<float>(source[0]) / 65535;
            target[3] = static_cast<float>(source[3]) / 65535;
        }
    }
}

tulomediatypes::PixelFormat MediaReader::Format() const {
    return IsDeep(static_cast<AVPixelFormat>(stream_->codecpar->format))
               ? tulomediatypes::kPixelFormat_BGRA_4444_32f
               : tulomediatypes::kPixelFormat_BGRA_4444_8u;
}

std::optional<std::int64_t> MediaReader::Count() const {
    if (stream_->nb_frames > 0) return stream_->nb_frames;
    const AVRational rate = av_guess_frame_rate(input_.get(), stream_, nullptr);
    if (input_->duration <= 0 || rate.num <= 0) return std::nullopt;
    return av_rescale(input_->duration, rate.num, std::int64_t{rate.den} * AV_TIME_BASE);
}

bool MediaReader::IsStill() const {
    return IsPictureFile(*input_->iformat);
}

FrameRate MediaReader::Rate() const {
    const AVRational rate = av_guess_frame_rate(input_.get(), stream_, nullptr);
    return rate.num > 0 && rate.den > 0 ? FrameRate{rate.num, rate.den} : FrameRate{};
}

}  // namespace vframe

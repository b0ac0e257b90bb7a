#include "FrameEdits.h"

#include <contracts/Scanvo.h>

#include <charconv>
#include <string>

#include "Failure.h"
#include "Frames.h"

namespace vframe {
namespace {

namespace manipulators = VF::VideoFrameManipulators;

constexpr int kAllRows = -1;

Brix::Rect ParseRect(const std::string& inText) {
    Brix::Rect rect;
    const char* at = inText.data();
    const char* const end = at + inText.size();
    for (std::int32_t* side : {&rect.left, &rect.top, &rect.right, &rect.bottom}) {
        if (side != &rect.left && (at == end || *at++ != ','))
            throw UsageFailure("--crop", "\"" + inText + "\" is not LEFT,TOP,RIGHT,BOTTOM");
        const auto [next, error] = std::from_chars(at, end, *side);
        if (error != std::errc())
            throw UsageFailure("--crop", "\"" + inText + "\" is not LEFT,TOP,RIGHT,BOTTOM");
        at = next;
    }
    if (at != end) throw UsageFailure("--crop", "\"" + inText + "\" has more than four numbers");
    return rect;
}

void CheckStatus(std::int32_t inStatus, const VF::VideoFrameRef& inFrame) {
    if (inStatus < 0)
        throw Failure(FormatName(inFrame->GetPixelType()), "the frame could not be copied");
}

std::string ToText(const Brix::Rect& inRect) {
    std::string text;
    for (const std::int32_t side : {inRect.left, inRect.top, inRect.right, inRect.bottom})
        text += (text.empty() ? "" : ",") + std::to_string(side);
    return text;
}

void CheckCrop(const VF::VideoFrameRef& inFrame, const Brix::Rect& inRect) {
    const Size size = FrameSize(inFrame);
    const bool isInside = inRect.left >= 0 && inRect.top >= 0 && inRect.left < inRect.right &&
                          inRect.top < inRect.bottom && inRect.right <= size.width &&
                          inRect.bottom <= size.height;
    if (!isInside)
        throw Failure("--crop " + ToText(inRect), "is no part of a " + ToText(size) + " picture");
    const PictureView view = ViewFrame(inFrame);
    void* start = nullptr;
    const std::int32_t result =
        SV_ClipBufferToRect(const_cast<void*>(view.start), view.rowBytes, size.width, size.height,
                            view.format, inRect.left, 0, &start);
    if (result != kSV_Success) {
        throw Failure("--crop " + ToText(inRect),
                      FormatName(inFrame->GetPixelType()) +
                          " keeps pixels together: the left edge has to be a "
                          "multiple of 2 (V210: of 6)");
    }
}

/// A new frame that holds the rectangle, or every other row of it.
VF::VideoFrameRef Copied(const VF::VideoFrameRef& inFrame, const Brix::Rect& inRect, Size inSize,
                         int inField) {
    const VF::VideoFrameRef part =
        MakeFrame(inFrame->GetPixelType(), inSize, inFrame->GetPixelAspectRatio());
    part->SetFieldType(inFrame->GetFieldType());
    part->SetAlphaType(inFrame->GetAlphaType());
    CheckStatus(
        manipulators::CopyRect(inFrame, inRect, part, part->GetBounds(), kDefaultQuality, inField),
        inFrame);
    return part;
}

VF::VideoFrameRef Cropped(const VF::VideoFrameRef& inFrame, const Brix::Rect& inRect) {
    CheckCrop(inFrame, inRect);
    return Copied(inFrame, inRect, {inRect.Width(), inRect.Height()}, kAllRows);
}

VF::VideoFrameRef OneField(const VF::VideoFrameRef& inFrame, int inField) {
    const Size size = FrameSize(inFrame);
    if (size.height < 2) throw Failure("--field", "a picture of one row has no two fields");
    // In a picture of odd height the copy counts its rows from the other side.
    const int copied = size.height % 2 == 0 ? inField : 1 - inField;
    const VF::VideoFrameRef field =
        Copied(inFrame, inFrame->GetBounds(), {size.width, size.height / 2}, copied);
    field->SetFieldType(0);
    return field;
}

}  // namespace

void FrameEdits::AddTo(CLI::App& inCommand) {
    const CLI::Range fields(0, 1);
    inCommand
        .add_option_function<std::string>(
            "--crop", [this](const std::string& text) { crop = ParseRect(text); },
            "Only this part, in pixels from the top left")
        ->type_name("LEFT,TOP,RIGHT,BOTTOM");
    inCommand
        .add_option("--field", field,
                    "Only the even rows (0) or the odd ones (1, from the top), at half the height")
        ->check(fields);
    inCommand
        .add_option("--deinterlace", deinterlace,
                    "Keep this field and rebuild the rows of the other; field 0 is the even rows "
                    "in a picture with its upper field first, the odd ones otherwise")
        ->check(fields);
    inCommand.add_flag("--swap-fields", swapFields, "Move the picture down a row");
    inCommand.add_flag("--smooth", smooth, "Mix each row with its neighbours");
    inCommand.add_flag("--invert-alpha", invertAlpha, "Exchange opaque and transparent");
    inCommand.add_flag("--opaque", opaque, "Make every pixel opaque");
}

bool FrameEdits::IsNeeded() const {
    return crop || field || deinterlace || swapFields || smooth || invertAlpha || opaque;
}

VF::VideoFrameRef Edited(const VF::VideoFrameRef& inFrame, const FrameEdits& inEdits) {
    if (!inEdits.IsNeeded()) return inFrame;
    if (!VF::PixelType2DMemoryAccessCapable(inFrame->GetPixelType())) {
        throw Failure(FormatName(inFrame->GetPixelType()),
                      "its rows cannot be reached; edit the picture in another format");
    }
    VF::VideoFrameRef frame = inFrame;
    if (inEdits.crop) frame = Cropped(frame, *inEdits.crop);
    if (inEdits.field) frame = OneField(frame, *inEdits.field);
    if (inEdits.deinterlace) manipulators::DeinterlaceVideoFrame(frame, *inEdits.deinterlace);
    if (inEdits.swapFields) manipulators::SwapFields(frame, frame);
    if (inEdits.smooth) manipulators::VerticalConvolve(frame, frame);
    if (inEdits.invertAlpha) manipulators::InvertAlpha(frame);
    if (inEdits.opaque) manipulators::OpaqueAlpha(frame);
    return frame;
}

}  // namespace vframe

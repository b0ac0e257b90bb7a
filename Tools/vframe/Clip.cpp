#include "Clip.h"

namespace vframe {
namespace {

std::uint64_t BytesOf(const VF::VideoFrameRef& inFrame) {
    const PictureView view = ViewFrame(inFrame);
    return static_cast<std::uint64_t>(view.rowBytes) * static_cast<std::uint64_t>(view.size.height);
}

}  // namespace

Clip::Clip(const std::string& inPath, std::uint64_t inRoom) : path_(inPath), room_(inRoom) {
    Open();
    if (IsStill()) count_ = 1;
}

void Clip::Open() {
    source_ = OpenMedia(path_);
    kept_.clear();
    keptBytes_ = 0;
    next_ = 0;
    Keep(FirstPicture(*source_, path_));
}

void Clip::Keep(const PictureView& inPicture) {
    kept_.push_back(MakeFrameOf(inPicture, {}));
    keptBytes_ += BytesOf(kept_.back());
    ++next_;
    for (; keptBytes_ > room_ && kept_.size() > 1; kept_.pop_front())
        keptBytes_ -= BytesOf(kept_.front());
}

void Clip::Read() {
    try {
        if (const auto picture = source_->Next()) return Keep(*picture);
    } catch (const Failure& failure) {
        damage_ = failure;
    }
    count_ = next_;
}

bool Clip::StepTowards(std::int64_t inIndex) {
    if (IsKept(inIndex) || EndsBefore(inIndex)) return false;
    if (inIndex < next_) {
        Open();
    } else {
        Read();
    }
    return true;
}

VF::VideoFrameRef Clip::Frame(std::int64_t inIndex) const {
    if (IsStill()) return kept_.front();
    return IsKept(inIndex) ? kept_[static_cast<std::size_t>(inIndex - FirstKept())] : nullptr;
}

}  // namespace vframe

#include "Publisher.h"

#include <sys/stat.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <utility>

namespace pellux {

using processcoordination::kBadReference;
using processcoordination::kGuidTaken;
using processcoordination::kNoRoom;
using processcoordination::kNotAvailable;
using processcoordination::kNotInitialized;
using processcoordination::kSuccess;
using processcoordination::kSystemFailure;

namespace {

constexpr std::uint64_t kMaxSize = std::uint64_t{1} << 48;
// Every segment costs a mapping, of which the system allows a process some 65,000.
constexpr std::size_t kMaxRetainedSegments = 8192;
constexpr std::size_t kMaxErrors = 1024;
// Looking whether a publication is still held costs some microseconds.
constexpr int kExaminationsPerCall = 8;
constexpr int kEvictionsForAFit = 8;

// Sizes that vary a little must find each other's segments, so they are rounded up by at most a
// sixteenth.
std::uint64_t FileSizeFor(std::uint64_t inSize) {
    const std::uint64_t grain = std::max(HeaderBytes(), std::bit_floor(inSize) / 16);
    return HeaderBytes() + (inSize + grain - 1) / grain * grain;
}

// Whether a segment is large enough, and not so large that more than a quarter would be wasted.
bool Fits(const Segment& inSegment, std::uint64_t inSize) {
    const std::uint64_t size = FileSizeFor(inSize);
    return inSegment.FileSize() >= size && inSegment.FileSize() - size <= size / 4;
}

Status StatusOf(int inError) {
    switch (inError) {
        case 0:
            return kSuccess;
        case EEXIST:
            return kGuidTaken;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
        case ENOMEM:
            return kNoRoom;
        default:
            return kSystemFailure;
    }
}

// For a segment that has its own name back: whether nobody can read it any more. Only a holder can
// make an alias, so none comes after the look for holders.
bool IsReusable(const Descriptor& inFile) {
    if (IsHeldByOthers(inFile)) return false;
    const std::optional<FileFacts> facts = Examine(inFile);
    return facts && facts->nameCount == 1;
}

Header HeaderOf(const ClientId& inOwner) {
    Header header;
    header.ownerProcess = inOwner.process;
    header.ownerSalt = inOwner.salt;
    return header;
}

}  // namespace

class Publisher::Discards {
  public:
    explicit Discards(const Folder& inFolder) : folder_(inFolder) {}
    Discards(const Discards&) = delete;
    Discards& operator=(const Discards&) = delete;
    ~Discards() {
        for (const auto& segment : segments_)
            Discard(folder_, segment->ownName, segment->file);
    }

    /// The first of these.
    void Take(Segments& ioSegments) {
        segments_.splice(segments_.end(), ioSegments, ioSegments.begin());
    }

  private:
    const Folder& folder_;
    Segments segments_;
};

// ---- Memory to write to -------------------------------------------------------------------------

Status Publisher::Allocate(std::uint64_t inSize, WritableSegment& outSegment) {
    if (inSize == 0 || inSize > kMaxSize) return kNoRoom;
    WritableSegment result;
    result.size = inSize;
    while (!(result.segment = TakeForReuse(inSize)).empty() && !HoldAgain(result)) {
        Discard(folder_, result.Get().ownName, result.Get().file);
    }
    if (result.segment.empty()) {
        if (const Status status = Create(result); status != kSuccess) return status;
    }
    if (!BeginWriting(result.Get())) {
        Discard(folder_, result.Get().ownName, result.Get().file);
        return kNotInitialized;
    }
    outSegment = std::move(result);
    return kSuccess;
}

Segments Publisher::TakeForReuse(std::uint64_t inSize) {
    Discards discards(folder_);
    const std::lock_guard lock(mutex_);
    return FindForReuse(inSize, discards);
}

// Prefers what is idle, then what may be evicted for the bound's sake, then memory that is new.
Segments Publisher::FindForReuse(std::uint64_t inSize, Discards& outDiscards) {
    if (Segments segment = TakeIdle(inSize); !segment.empty()) return segment;
    ExamineHeld();
    ExamineRetiring();
    // Segments being written will come back and are counted, lest two that are written in turns
    // never settle; but they may not drive out all that is published.
    const std::uint64_t more =
        FileSizeFor(inSize) + std::min(writtenBytes_, retainedBytesLimit_ / 2);
    for (int evictions = 0;;) {
        if (Segments segment = TakeIdle(inSize); !segment.empty()) return segment;
        if (!WouldExceed(more)) return {};
        // What is idle now is of other sizes. It is not given up for the first best request, or
        // streams of several sizes would destroy each other's segments in turns; but neither shall
        // many publications go in search of one that fits.
        const bool hasManyIdle = idleBytes_ > retainedBytesLimit_ / 4;
        const bool mayEvict = idle_.empty() || (!hasManyIdle && evictions < kEvictionsForAFit);
        if (mayEvict && RelieveOldest(0)) {
            ++evictions;
            continue;
        }
        if (idle_.empty()) return {};
        DropIdle(outDiscards);
    }
}

bool Publisher::HoldAgain(WritableSegment& ioSegment) const {
    Descriptor file = folder_.OpenFile(ioSegment.Get().ownName, Access::kReadWrite);
    if (!file || !Hold(file)) return false;
    const std::optional<FileFacts> facts = Examine(file);
    if (!facts || facts->id != ioSegment.Get().file) return false;
    ioSegment.hold = std::move(file);
    return true;
}

Status Publisher::Create(WritableSegment& ioSegment) {
    int error = TryCreate(ioSegment);
    if (StatusOf(error) == kNoRoom && DropAllIdle()) error = TryCreate(ioSegment);
    return StatusOf(error);
}

// Returns 0 or the errno.
int Publisher::TryCreate(WritableSegment& ioSegment) {
    Segments made{std::make_shared<Segment>()};
    Segment* const segment = made.front().get();
    segment->ownName = NewName();
    Descriptor file = folder_.CreateFile(segment->ownName);
    if (!file) return errno;
    const std::uint64_t fileSize = FileSizeFor(ioSegment.size);
    int error = Hold(file) ? ReserveRoom(file, fileSize) : errno;
    if (error == 0) {
        segment->memory = Memory(file, fileSize, Access::kReadWrite);
        if (!segment->memory) error = errno;
    }
    const std::optional<FileFacts> facts = Examine(file);
    if (error != 0 || !facts) {
        folder_.Remove(segment->ownName);
        return error != 0 ? error : EIO;
    }
    segment->file = facts->id;
    segment->FileHeader() = HeaderOf(client_);
    ioSegment.segment = std::move(made);
    ioSegment.hold = std::move(file);
    return 0;
}

bool Publisher::BeginWriting(const Segment& inSegment) {
    const std::lock_guard lock(mutex_);
    if (isStopped_) return false;
    writtenBytes_ += inSegment.FileSize();
    return true;
}

void Publisher::GiveBack(WritableSegment inSegment) noexcept {
    if (inSegment.segment.empty()) return;
    if (inSegment.isPublished) {
        // Only a stop takes the name from a publication that is held, so until then there is
        // nothing to look after.
        const std::lock_guard lock(mutex_);
        if (!isStopped_) {
            inSegment.hold = Descriptor();
            return;
        }
    }
    const bool isNameless = LetGo(std::move(inSegment.hold));
    Discards discards(folder_);
    const std::lock_guard lock(mutex_);
    if (isStopped_ || inSegment.isPublished) return;
    writtenBytes_ -= inSegment.Get().FileSize();
    if (isNameless) return;
    AddIdle(std::move(inSegment.segment));
    KeepWithinBound(0, discards);
}

std::string Publisher::NewName() {
    return SegmentName(client_, nextNumber_++);
}

// ---- Publishing ---------------------------------------------------------------------------------

Status Publisher::Publish(const Guid& inGuid, WritableSegment& ioSegment) {
    Publications fresh;
    Publication& publication = fresh[0];
    publication.name = PublicationName(inGuid);
    publication.segment = ioSegment.segment;
    Discards discards(folder_);
    const std::lock_guard lock(mutex_);
    if (isStopped_) return kNotInitialized;
    if (ioSegment.isPublished) return kBadReference;
    Segment& segment = ioSegment.Get();
    publication.file = segment.file;
    publication.size = segment.FileSize();
    Header& header = segment.FileHeader();
    header.content = Content::kData;
    header.size = ioSegment.size;
    header.guid = inGuid;
    // From here on all of it is there, for everyone, or nothing.
    if (const int error = folder_.Rename(segment.ownName, publication.name)) return StatusOf(error);
    ioSegment.isPublished = true;
    writtenBytes_ -= segment.FileSize();
    Add(std::move(fresh));
    KeepWithinBound(nextAge_ - 1, discards);
    return kSuccess;
}

Status Publisher::MakeAlias(const Descriptor& inFile, const Guid& inAlias) {
    const std::optional<FileFacts> facts = Examine(inFile);
    if (!facts) return kSystemFailure;
    Publications fresh;
    Publication& publication = fresh[0];
    publication.name = PublicationName(inAlias);
    publication.aliasMark = AliasMarkName(client_, inAlias);
    publication.file = facts->id;
    publication.size = facts->size;
    Discards discards(folder_);
    const std::lock_guard lock(mutex_);
    if (isStopped_) return kNotInitialized;
    publication.segment = FindOwn(facts->id);
    if (const int error = folder_.Link(inFile, publication.aliasMark)) {
        return error == ENOENT ? kNotAvailable : StatusOf(error);
    }
    if (const int error = folder_.Link(inFile, publication.name)) {
        folder_.Remove(publication.aliasMark);
        return StatusOf(error);
    }
    Add(std::move(fresh));
    KeepWithinBound(nextAge_ - 1, discards);
    return kSuccess;
}

// Of those that stand under a first name; none when it is not of this process.
Segments Publisher::FindOwn(const FileId& inFile) const {
    for (const Publications* const table : {&published_, &held_}) {
        for (const auto& [age, publication] : *table) {
            if (publication.file == inFile) return publication.segment;
        }
    }
    return {};
}

// As the newest one; nothing here can fail.
void Publisher::Add(Publications&& inPublication) {
    auto node = inPublication.extract(inPublication.begin());
    node.key() = nextAge_++;
    Count(node.mapped());
    published_.insert(std::move(node));
}

Status Publisher::PublishError(const Guid& inGuid, std::int32_t inErrorCode) {
    Header header = HeaderOf(client_);
    header.content = Content::kError;
    header.errorCode = inErrorCode;
    header.guid = inGuid;
    std::list<PublishedError> fresh{{PublicationName(inGuid), {}}};
    const std::string ownName = NewName();
    const Descriptor file = folder_.CreateFile(ownName);
    if (!file) return StatusOf(errno);
    int error = ReserveRoom(file, HeaderBytes());
    if (error == 0 && pwrite(file.Number(), &header, sizeof(header), 0) != sizeof(header)) {
        error = EIO;
    }
    const std::optional<FileFacts> facts = Examine(file);
    if (error == 0 && !facts) error = EIO;

    const std::lock_guard lock(mutex_);
    if (error == 0 && !isStopped_) error = folder_.Rename(ownName, fresh.front().name);
    if (error != 0 || isStopped_) {
        folder_.Remove(ownName);
        return error != 0 ? StatusOf(error) : kNotInitialized;
    }
    fresh.front().file = facts->id;
    errors_.splice(errors_.end(), fresh);
    if (errors_.size() > kMaxErrors) {
        folder_.RemoveIf(errors_.front().name, errors_.front().file);
        errors_.pop_front();
    }
    return kSuccess;
}

void Publisher::Stop() {
    // They outlive the lock: unmapping takes a while.
    Publications published, held;
    Segments idle, retiring;
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
    published.swap(published_);
    held.swap(held_);
    idle.swap(idle_);
    retiring.swap(retiring_);
    errors_.clear();
    publishedBytes_ = idleBytes_ = writtenBytes_ = 0;
}

// ---- Keeping within the bound -------------------------------------------------------------------

void Publisher::SetRetainedBytesLimit(std::uint64_t inBytes) {
    Discards discards(folder_);
    const std::lock_guard lock(mutex_);
    retainedBytesLimit_ = inBytes;
    KeepWithinBound(0, discards);
    ExamineRetiring();  // some may have lost their last alias just now
    KeepWithinBound(0, discards);
}

void Publisher::Count(const Publication& inPublication) {
    const bool isCounted =
        !inPublication.segment.empty() && inPublication.segment.front()->countedNames++ > 0;
    if (!isCounted) publishedBytes_ += inPublication.size;
}

void Publisher::StopCounting(const Publication& inPublication) {
    const bool isCounted =
        !inPublication.segment.empty() && --inPublication.segment.front()->countedNames > 0;
    if (!isCounted) publishedBytes_ -= inPublication.size;
}

bool Publisher::WouldExceed(std::uint64_t inMoreBytes) const {
    const std::uint64_t bytes = publishedBytes_ + idleBytes_ + inMoreBytes;
    return bytes > retainedBytesLimit_ || published_.size() + idle_.size() > kMaxRetainedSegments;
}

void Publisher::KeepWithinBound(Age inSpared, Discards& outDiscards) {
    while (WouldExceed(0)) {
        if (!idle_.empty()) {
            DropIdle(outDiscards);
        } else if (!RelieveOldest(inSpared)) {
            return;
        }
    }
}

// The oldest publication but the spared one stops to count: it is evicted, or turns out to be held.
// False when there is none.
bool Publisher::RelieveOldest(Age inSpared) {
    auto oldest = published_.begin();
    if (oldest != published_.end() && oldest->first == inSpared) ++oldest;
    if (oldest == published_.end()) return false;
    auto node = published_.extract(oldest);
    Segments& segment = node.mapped().segment;
    StopCounting(node.mapped());
    switch (Evict(node.mapped())) {
        case Eviction::kHeld:
            held_.insert(std::move(node));
            break;
        case Eviction::kIdle:
            AddIdle(std::move(segment));
            break;
        case Eviction::kRetiring:
            retiring_.splice(retiring_.end(), segment);
            break;
        case Eviction::kGone:
            break;
    }
    return true;
}

Publisher::Eviction Publisher::Evict(const Publication& inPublication) const {
    const bool isAlias = !inPublication.aliasMark.empty();
    const Descriptor file = folder_.OpenFile(inPublication.name, Access::kRead);
    if (!file && errno != ENOENT) return Eviction::kHeld;
    const std::optional<FileFacts> facts = file ? Examine(file) : std::nullopt;
    const bool isThere = facts && facts->id == inPublication.file;
    if (isThere && IsHeldByOthers(file)) return Eviction::kHeld;
    if (isAlias) {
        folder_.RemoveIf(inPublication.name, inPublication.file);
        Discard(folder_, inPublication.aliasMark, inPublication.file);
        return Eviction::kGone;
    }
    if (!isThere) return Eviction::kGone;
    // A reader holds the file first and then makes sure of its name. So whoever is to get at the
    // bytes is seen to hold them when the names have gone.
    const std::string& ownName = inPublication.segment.front()->ownName;
    if (folder_.Rename(inPublication.name, ownName) != 0) return Eviction::kGone;
    return IsReusable(file) ? Eviction::kIdle : Eviction::kRetiring;
}

// Publications whose holders have gone count again, and are as old as they were.
void Publisher::ExamineHeld() {
    const auto count = std::min<std::size_t>(held_.size(), kExaminationsPerCall);
    for (std::size_t i = 0; i < count; ++i) {
        auto next = held_.upper_bound(lastExamined_);
        if (next == held_.end()) next = held_.begin();
        lastExamined_ = next->first;
        const Descriptor file = folder_.OpenFile(next->second.name, Access::kRead);
        if (file ? IsHeldByOthers(file) : errno != ENOENT) continue;
        Count(next->second);
        published_.insert(held_.extract(next));
    }
}

void Publisher::ExamineRetiring() {
    const auto count = std::min<std::size_t>(retiring_.size(), kExaminationsPerCall);
    for (std::size_t i = 0; i < count; ++i) {
        Segments segment;
        segment.splice(segment.end(), retiring_, retiring_.begin());
        const Descriptor file = folder_.OpenFile(segment.front()->ownName, Access::kRead);
        if (!file && errno == ENOENT) continue;
        if (file && IsReusable(file)) {
            AddIdle(std::move(segment));
        } else {
            retiring_.splice(retiring_.end(), segment);
        }
    }
}

// ---- What is idle -------------------------------------------------------------------------------

// The best fit; of equal ones the one used last, whose bytes are the likeliest to be in a cache.
Segments Publisher::TakeIdle(std::uint64_t inSize) {
    auto best = idle_.end();
    for (auto it = idle_.end(); it != idle_.begin();) {
        --it;
        if (!Fits(**it, inSize)) continue;
        if (best == idle_.end() || (*it)->FileSize() < (*best)->FileSize()) best = it;
        if ((*best)->FileSize() == FileSizeFor(inSize)) break;
    }
    Segments segment;
    if (best == idle_.end()) return segment;
    idleBytes_ -= (*best)->FileSize();
    segment.splice(segment.end(), idle_, best);
    return segment;
}

void Publisher::AddIdle(Segments&& inSegment) {
    idleBytes_ += inSegment.front()->FileSize();
    idle_.splice(idle_.end(), inSegment);
}

void Publisher::DropIdle(Discards& outDiscards) {
    idleBytes_ -= idle_.front()->FileSize();
    outDiscards.Take(idle_);
}

// True if there was anything to drop.
bool Publisher::DropAllIdle() {
    Discards discards(folder_);
    const std::lock_guard lock(mutex_);
    const bool hasIdle = !idle_.empty();
    while (!idle_.empty())
        DropIdle(discards);
    return hasIdle;
}

}  // namespace pellux

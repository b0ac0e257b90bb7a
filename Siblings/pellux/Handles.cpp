#include "Handles.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <cstdio>

namespace pellux {

PathOf::PathOf(const Descriptor& inFile) {
    std::snprintf(text_.data(), text_.size(), "/proc/self/fd/%d", inFile.Number());
}

Descriptor Reopen(const Descriptor& inFile, Access inAccess) {
    const int direction = inAccess == Access::kRead ? O_RDONLY : O_RDWR;
    return Descriptor(open(PathOf(inFile).c_str(), direction | O_CLOEXEC));
}

Memory::Memory(const Descriptor& inFile, std::size_t inSize, Access inAccess) : size_(inSize) {
    // A mapping keeps alive the opening of the file that it was made from, and all locks of that
    // with it. So it gets one of its own, that has none.
    const Descriptor file = Reopen(inFile, inAccess);
    if (!file) return;
    const int protection = inAccess == Access::kRead ? PROT_READ : PROT_READ | PROT_WRITE;
    void* const start =
        mmap(nullptr, inSize, protection, MAP_SHARED | MAP_POPULATE, file.Number(), 0);
    if (start != MAP_FAILED) start_ = static_cast<std::byte*>(start);
}

Memory::~Memory() {
    if (start_ != nullptr) munmap(start_, size_);
}

}  // namespace pellux

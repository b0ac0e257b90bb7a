// Tells what this process made from what it inherited by fork().
#pragma once

namespace pellux {

/// How many forks lie between this process and the one that loaded the library.
unsigned CountForks();

/// Remembers the process that made it.
///
/// A forked child has copies of all its parent's objects. It may read through them and let them
/// go, but what they stand for in the folder, and locks that another thread of the parent may have
/// held at that moment, are not its own to touch.
class ProcessMark {
  public:
    bool IsInherited() const { return forks_ != CountForks(); }

  private:
    unsigned forks_ = CountForks();
};

}  // namespace pellux

// A folder of its own for the inter-process data service of a test program.
#pragma once

#include <stdlib.h>

#include "support/Testing.h"

namespace support {

/// Makes a private folder in shared memory, names it to the service of this process and of those
/// it starts, and removes it in the end.
class SharedFolder {
  public:
    SharedFolder() {
        std::string path = "/dev/shm/videoframe-test-XXXXXX";
        EXPECT_NE(mkdtemp(path.data()), nullptr);
        path_ = path;
        setenv("PELLUX_FOLDER", path.c_str(), 1);
    }
    ~SharedFolder() {
        unsetenv("PELLUX_FOLDER");
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    SharedFolder(const SharedFolder&) = delete;
    SharedFolder& operator=(const SharedFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }

  private:
    std::filesystem::path path_;
};

}  // namespace support

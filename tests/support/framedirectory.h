#pragma once

#include <filesystem>

#include "tests/support/testdirectory.h"

namespace testsupport {

/** A frame's storage. Makes its folder `run` the working directory; storage roots go beside it. */
class FrameDirectory : public TestDirectory {
  public:
    FrameDirectory() : i_previous(std::filesystem::current_path()) {
        std::filesystem::create_directory(path("run"));
        std::filesystem::current_path(path("run"));
    }
    ~FrameDirectory() { std::filesystem::current_path(i_previous); }
    FrameDirectory(const FrameDirectory&) = delete;
    FrameDirectory& operator=(const FrameDirectory&) = delete;

  private:
    const std::filesystem::path i_previous;
};

}  // namespace testsupport

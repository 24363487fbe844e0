#include "platform/options.h"

#include <filesystem>
#include <set>
#include <string>

#include "tests/support/framedirectory.h"
#include "verification/fuzz/fuzzing.h"

/** Input: a byte for the platform, and the file software.options. */
namespace {

/** A frame's storage, with software.options in memory. */
class Storage {
  public:
    Storage() {
        std::filesystem::create_directories(i_frame.path("NANDdata/simapp/data"));
        std::filesystem::create_symlink(i_file.path(),
                                        i_frame.path("NANDdata/simapp/data/software.options"));
    }

    void write(const std::string& contents) { i_file.write(contents); }

  private:
    fuzzing::MemoryFile i_file;
    testsupport::FrameDirectory i_frame;
};

bool IsHalfMeMode(e_SwitcherMode mode) {
    return mode == e_SwitcherMode_2_5ME || mode == e_SwitcherMode_2_5ME_25_2997 ||
           mode == e_SwitcherMode_2_5ME_3G;
}

/** The platform's modes, without those that need more MEs. */
std::set<e_SwitcherMode> ExpectedModes(e_VelnorType platform, size_t mles) {
    std::set<e_SwitcherMode> modes;
    for (const e_SwitcherMode mode : GetAvailableSwitcherModes(platform)) {
        if (mles > 1 || !IsHalfMeMode(mode)) {
            modes.insert(mode);
        }
    }
    return modes;
}

void RequireWithinLimits(const Options& options, e_VelnorType platform) {
    REQUIRE(options.getMaxMles() == GetMaxNumMEs(platform));
    REQUIRE(options.getMaxInputs() == GetMaxNumInputs(platform));
    REQUIRE(options.getAvailableMles() <= options.getMaxMles());
    REQUIRE(options.getAvailableInputs() <= options.getMaxInputs());
    REQUIRE(options.getNumABU() <= 3);
    REQUIRE(options.getNumConfAudioChannels() <= 48);
    const std::set<e_SwitcherMode>& modes = options.getAvailableSwitcherModes();
    REQUIRE(modes == ExpectedModes(platform, options.getAvailableMles()));
    const e_SwitcherMode mode = options.getSwitcherMode();
    REQUIRE(modes.count(mode) != 0 || mode == GetDefaultSwitcherMode(platform));
}

bool AreSame(const Options& left, const Options& right) {
    return left.getAvailableMles() == right.getAvailableMles() &&
           left.getAvailableInputs() == right.getAvailableInputs() &&
           left.getSwitcherMode() == right.getSwitcherMode() &&
           left.getNumABU() == right.getNumABU() &&
           left.getAuthVRQConnections() == right.getAuthVRQConnections() &&
           left.getVistrolName().exists() == right.getVistrolName().exists();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    fuzzing::SilenceLog();
    static Storage storage;
    fuzzing::Input input(bytes, size);
    const auto platform = static_cast<e_VelnorType>(input.takeByte() % (e_VelnorType_Profile6 + 1));
    storage.write(input.takeRest());

    Options options(platform);
    options.load();
    RequireWithinLimits(options, platform);
    Options again = options;
    again.load();
    REQUIRE(AreSame(again, options));
    options.adjustNumInputs(platform);
    REQUIRE(options.getAvailableInputs() == again.getAvailableInputs() ||
            again.getAvailableInputs() == 16);
    return 0;
}

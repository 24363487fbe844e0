#pragma once

#include <optional>
#include <string>

#include "companions/commandline/regularfile.h"

namespace run {

/** What a report says about an image; none of it if the file can't be read. */
struct CheckedImage {
    std::optional<long> size;
    /** 64 digits in lower case; none for a file above MOST_BYTES. */
    std::optional<std::string> sha256;
};

/**
 * The image that is to be sent. If a digest is asked for, the file's bytes are taken into sealed
 * memory once, and the tool reads them there: what was checked is what is sent, even if somebody
 * writes to the file meanwhile. Otherwise the tool reads the file itself.
 */
class ImageFile {
  public:
    enum e_Result {
        e_Result_Good,
        /** It can't be opened: the tool reports that. Never if a digest is asked for. */
        e_Result_NotOpened,
        /** It isn't a regular file, is too large to be checked or can't be read. */
        e_Result_Refused,
        e_Result_WrongDigest,
    };

    /** `digest` in lower case, or none. `why` has the reason of a refusal. */
    [[nodiscard]] e_Result take(const std::string& file, const std::optional<std::string>& digest,
                                std::string& why);

    const CheckedImage& facts() const { return i_facts; }
    /** The path under which the tool finds the image, and the descriptor to keep for it, or -1. */
    std::string path() const { return i_path; }
    int descriptor() const { return i_memory.get(); }

    /** Bytes: 65535 pages and the longest header are a little less. */
    static constexpr long MOST_BYTES = 17L << 20;

  private:
    commandline::Descriptor i_memory;
    std::string i_path;
    CheckedImage i_facts;
};

/**
 * The digest that a file in sha256sum's format has for an image: the line with this path, or else
 * with this name. No value, and why, if there is none.
 */
std::optional<std::string> DigestIn(const std::string& digestFile, const std::string& image,
                                    std::string& why);

}  // namespace run

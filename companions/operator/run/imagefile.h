#pragma once

#include <optional>
#include <string>

#include "companions/commandline/regularfile.h"

namespace run {

/** Size and digest of the image for the report; no values if the file can't be read. */
struct CheckedImage {
    std::optional<long> size;
    /** 64 digits in lower case; no value for a file above MOST_BYTES. */
    std::optional<std::string> sha256;
};

/**
 * The image to send. With a digest, the file is copied once into sealed memory, and the tool reads
 * that copy. So the bytes sent are the bytes checked, even if the file changes meanwhile. Without a
 * digest the tool reads the file itself.
 */
class ImageFile {
  public:
    enum e_Result {
        e_Result_Good,
        /** It can't be opened, and the tool reports that. Only without a digest. */
        e_Result_NotOpened,
        /** It isn't a regular file, is too large to be checked or can't be read. */
        e_Result_Refused,
        e_Result_WrongDigest,
    };

    /** `digest` is in lower case. After a refusal `why` has the reason. */
    [[nodiscard]] e_Result take(const std::string& file, const std::optional<std::string>& digest,
                                std::string& why);

    const CheckedImage& facts() const { return i_facts; }
    /** The path to give to the tool, and the descriptor that it must inherit for that, or -1. */
    std::string path() const { return i_path; }
    int descriptor() const { return i_memory.get(); }

    /** In bytes; 65535 pages and the longest header take little more than 16 MiB. */
    static constexpr long MOST_BYTES = 17L << 20;

  private:
    commandline::Descriptor i_memory;
    std::string i_path;
    CheckedImage i_facts;
};

/**
 * The image's digest in a file in sha256sum's format. The line with the same path has it, or else
 * the first line with the same file name. Without a value `why` has the reason.
 */
std::optional<std::string> DigestIn(const std::string& digestFile, const std::string& image,
                                    std::string& why);

}  // namespace run

#include "companions/operator/run/imagefile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <sstream>
#include <system_error>

#include "companions/digest/sha256.h"

namespace run {

namespace {

using commandline::Descriptor;

/** Bytes of a file of digests. */
constexpr std::size_t LONGEST_DIGEST_FILE = 1 << 20;

using ByteHandler = std::function<bool(const char* bytes, std::size_t count)>;

/** Passes at most `most` bytes of a file to the handler; false if a read or the handler fails. */
bool ReadAll(int fd, std::size_t most, const ByteHandler& handler) {
    std::array<char, 65536> buffer;
    while (most > 0) {
        const ssize_t count = read(fd, buffer.data(), std::min(buffer.size(), most));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return count == 0;
        }
        if (!handler(buffer.data(), static_cast<std::size_t>(count))) {
            return false;
        }
        most -= static_cast<std::size_t>(count);
    }
    return true;
}

/** A copy of the file in memory that can't be changed; empty on failure. */
Descriptor SealedCopy(int fd) {
    Descriptor memory(memfd_create("tolmira image", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    constexpr int seals = F_SEAL_WRITE | F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL;
    const bool copied = memory &&
                        ReadAll(fd, ImageFile::MOST_BYTES,
                                [&](const char* bytes, std::size_t count) {
                                    return commandline::WriteAll(memory.get(), {bytes, count});
                                }) &&
                        fcntl(memory.get(), F_ADD_SEALS, seals) == 0 &&
                        lseek(memory.get(), 0, SEEK_SET) == 0;
    return copied ? std::move(memory) : Descriptor();
}

long SizeOf(int fd) {
    struct stat status = {};
    return fstat(fd, &status) == 0 ? status.st_size : 0;
}

std::optional<std::string> DigestOf(int fd) {
    digest::Sha256 sha256;
    const bool read = ReadAll(fd, ImageFile::MOST_BYTES, [&](const char* bytes, std::size_t count) {
        sha256.add(bytes, count);
        return true;
    });
    const std::string hex = sha256.hex();
    return read && !hex.empty() ? std::optional<std::string>(hex) : std::nullopt;
}

/** A file of any type. */
bool Exists(const std::string& file) {
    struct stat status = {};
    return stat(file.c_str(), &status) == 0;
}

bool NamesRegularFile(const std::string& file) {
    struct stat status = {};
    return stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/** A line of sha256sum: digits, a blank, a blank or a star, the name. */
struct DigestLine {
    std::string digits;
    std::string name;
};

/** sha256sum escapes a backslash and a newline, and marks such a line with a leading backslash. */
std::string Unescaped(const std::string& name) {
    std::string plain;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const bool escape = name[i] == '\\' && i + 1 < name.size();
        plain += !escape ? name[i] : name[i + 1] == 'n' ? '\n' : name[i + 1];
        i += escape ? 1 : 0;
    }
    return plain;
}

std::optional<DigestLine> ReadLine(std::string line) {
    const bool escaped = !line.empty() && line[0] == '\\';
    line.erase(0, escaped ? 1 : 0);
    const auto digits = digest::ReadSha256(line.substr(0, digest::SHA256_DIGITS));
    if (!digits || line.size() < digest::SHA256_DIGITS + 3 || line[digest::SHA256_DIGITS] != ' ') {
        return std::nullopt;
    }
    const std::string name = line.substr(digest::SHA256_DIGITS + 2);
    return DigestLine{*digits, escaped ? Unescaped(name) : name};
}

std::string NameIn(const std::string& path) {
    return std::filesystem::path(path).filename();
}

}  // namespace

ImageFile::e_Result ImageFile::take(const std::string& file,
                                    const std::optional<std::string>& digest, std::string& why) {
    i_path = file;
    const Descriptor opened = commandline::OpenRegularFile(file, why);
    if (!opened) {
        const bool toolReports = !digest && (!Exists(file) || NamesRegularFile(file));
        return toolReports ? e_Result_NotOpened : e_Result_Refused;
    }
    i_facts.size = SizeOf(opened.get());
    if (*i_facts.size > MOST_BYTES) {
        why = "it is larger than 17 MiB";
        return digest ? e_Result_Refused : e_Result_Good;
    }
    if (!digest) {
        i_facts.sha256 = DigestOf(opened.get());
        return e_Result_Good;
    }
    i_memory = SealedCopy(opened.get());
    i_facts.size = i_memory ? SizeOf(i_memory.get()) : 0;
    i_facts.sha256 = i_memory ? DigestOf(i_memory.get()) : std::nullopt;
    if (!i_facts.sha256) {
        why = "it can't be read into memory";
        return e_Result_Refused;
    }
    i_path = "/proc/self/fd/" + std::to_string(i_memory.get());
    why = "the image has " + *i_facts.sha256 + ", not " + *digest;
    return *i_facts.sha256 == *digest ? e_Result_Good : e_Result_WrongDigest;
}

std::optional<std::string> DigestIn(const std::string& digestFile, const std::string& image,
                                    std::string& why) {
    const Descriptor opened = commandline::OpenRegularFile(digestFile, why);
    if (!opened) {
        return std::nullopt;
    }
    std::string text;
    (void)ReadAll(opened.get(), LONGEST_DIGEST_FILE, [&](const char* bytes, std::size_t count) {
        text.append(bytes, count);  // after a read error, the bytes so far count
        return true;
    });
    std::istringstream lines(text);
    std::optional<std::string> byName;
    for (std::string line; std::getline(lines, line);) {
        const std::optional<DigestLine> read = ReadLine(line);
        if (read && read->name == image) {
            return read->digits;
        }
        if (read && !byName && NameIn(read->name) == NameIn(image)) {
            byName = read->digits;
        }
    }
    why = "it has no line for " + NameIn(image);
    return byName;
}

}  // namespace run

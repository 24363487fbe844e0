#include "thread/slavecommands.h"

#include <unistd.h>

#include <cstring>
#include <string>

#include "thread/interruptthread.h"
#include "thread/shellcommand.h"
#include "verification/fuzz/fuzzing.h"

/**
 * Input: the bytes that the master sends, commands with their echoes. No command is executed; this
 * function derives a result from its text. The slave's expected answers are computed from the
 * input.
 */
SystemCaller::RC RunShellCommand(const std::string& command, int /*interruptFd*/,
                                 bool /*capture*/) {
    SystemCaller::RC result;
    result.localRC = static_cast<int>(command.size());
    result.commandRC = -result.localRC;
    result.stdout = command;
    result.stderr = command + command;
    return result;
}

namespace {

constexpr size_t LENGTH_SIZE = 4;

void AppendNumber(std::string& bytes, uint32_t number) {
    char text[LENGTH_SIZE];
    memcpy(text, &number, sizeof text);
    bytes.append(text, sizeof text);
}

void AppendText(std::string& bytes, const std::string& text) {
    AppendNumber(bytes, static_cast<uint32_t>(text.size()));
    bytes += text;
}

std::string ExpectedAnswer(const std::string& stream) {
    std::string answer;
    size_t at = 0;
    while (stream.size() - at >= LENGTH_SIZE) {
        uint32_t length = 0;
        memcpy(&length, stream.data() + at, sizeof length);
        at += LENGTH_SIZE;
        if (length > stream.size() - at) {
            break;
        }
        const std::string command = stream.substr(at, length);
        at += length;
        answer += 'A';
        const size_t echo = stream.find_first_not_of("\xFF\xFE", at);
        if (echo == std::string::npos) {
            break;
        }
        at = echo + 1;
        const SystemCaller::RC result = RunShellCommand(command, -1, true);
        AppendNumber(answer, static_cast<uint32_t>(result.localRC));
        AppendNumber(answer, static_cast<uint32_t>(result.commandRC));
        AppendText(answer, result.stdout);
        AppendText(answer, result.stderr);
    }
    return answer;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    static_assert(INTERRUPT_MARK == 0xFF && TIMEOUT_MARK == 0xFE);
    fuzzing::SilenceLog();
    const std::string stream(reinterpret_cast<const char*>(bytes), size);
    fuzzing::MemoryFile toSlave;
    fuzzing::MemoryFile fromSlave;
    toSlave.write(stream);
    fromSlave.write("");
    const int readEnd = dup(toSlave.fd());
    const int writeEnd = dup(fromSlave.fd());
    REQUIRE(SlaveAppProcessCommands(readEnd, writeEnd) == 1);
    REQUIRE(close(readEnd) == -1 && close(writeEnd) == -1);
    REQUIRE(fromSlave.read() == ExpectedAnswer(stream));
    return 0;
}

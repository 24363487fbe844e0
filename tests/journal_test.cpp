/** tolmira_run --journal with a socket in place of the journal's, in a private /run. */
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <map>
#include <sstream>
#include <thread>

#include "companions/operator/toollog/logreader.h"
#include "tests/framefixture.h"

using testing::AllOf;
using testing::Contains;
using testing::Key;
using testing::Not;
using testing::Pair;

namespace {

using Entry = std::map<std::string, std::string>;

Entry ParseEntry(const std::string& datagram) {
    Entry entry;
    std::istringstream lines(datagram);
    for (std::string line; getline(lines, line);) {
        const std::size_t equals = line.find('=');
        entry[line.substr(0, equals)] = equals == std::string::npos ? "" : line.substr(equals + 1);
    }
    return entry;
}

/** Stands in for the journal. A thread reads at once, since a socket queues few datagrams. */
class JournalSocket {
  public:
    /** For a private mount namespace. Where mounting isn't permitted, `listens()` is false. */
    JournalSocket() {
        i_mounted = mount("tmpfs", "/run", "tmpfs", 0, nullptr) == 0;
        if (!i_mounted) {
            return;
        }
        std::filesystem::create_directories("/run/systemd/journal");
        sockaddr_un address = {AF_UNIX, "/run/systemd/journal/socket"};
        i_fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        i_listens = bind(i_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        i_reader = std::thread([this] { read(); });
    }
    ~JournalSocket() {
        stop();
        if (i_mounted) {
            umount2("/run", MNT_DETACH);
        }
    }

    bool listens() const { return i_listens; }

    /** Ends the thread and returns all entries. */
    const std::vector<Entry>& stop() {
        if (i_reader.joinable()) {
            shutdown(i_fd, SHUT_RDWR);
            i_reader.join();
            close(i_fd);
        }
        return i_entries;
    }

  private:
    void read() {
        char buffer[65536];
        ssize_t count = 0;
        while ((count = recv(i_fd, buffer, sizeof buffer, 0)) > 0) {
            i_entries.push_back(ParseEntry(std::string(buffer, static_cast<std::size_t>(count))));
        }
    }

    bool i_mounted = false;
    bool i_listens = false;
    int i_fd = -1;
    std::vector<Entry> i_entries;
    std::thread i_reader;
};

using JournalTest = FrameTest;

/** The fields that the log lines of a run must have in the journal. */
std::vector<Entry> ExpectedEntries(const std::string& output) {
    const Entry priorities = {{"NOTICE", "5"}, {"WARNING", "4"}, {"CRITICAL", "2"}};
    std::vector<Entry> entries;
    toollog::LogReader reader([&](const toollog::LogLine& line) {
        entries.push_back({{"MESSAGE", line.message.substr(0, line.message.find('\n'))},
                           {"CODE_FILE", line.file},
                           {"CODE_LINE", line.line},
                           {"PRIORITY", priorities.at(line.severity)}});
    });
    reader.take(output.data(), output.size());
    reader.finish();
    return entries;
}

const Arguments TO_JOURNAL = {"--journal", "-f", "image", "configuration"};

TEST_F(JournalTest, GetsEachLineOnceInsteadOfTheTerminal) {
    writeImage(Payload(600));
    Controller controller(i_directory, {"--faults", "result=1@1.1"});
    const ProcessResult plain = runProgram(TOLMIRA_RUN, TO_JOURNAL);
    EXPECT_THAT(plain.out, HasSubstr("Page 2 sent successfully")) << "without a journal";

    controller.stop();
    const Controller other(i_directory, {"--faults", "result=1@1.1"});
    JournalSocket journal;
    if (!journal.listens()) {
        GTEST_SKIP() << "the machine doesn't permit a private /run";
    }
    const ProcessResult result = runProgram(TOLMIRA_RUN, TO_JOURNAL);
    EXPECT_EQ(result.exitValue, 0);
    EXPECT_EQ(result.out + result.err, "");

    const std::vector<Entry> entries = journal.stop();
    const std::vector<Entry> expected = ExpectedEntries(plain.out);
    ASSERT_EQ(entries.size(), expected.size() + 1);
    EXPECT_THAT(entries.back(),
                AllOf(Contains(Pair("TOLMIRA_CAUSE", "upgraded")), Contains(Pair("PRIORITY", "5")),
                      Not(Contains(Key("CODE_FILE")))));
    std::vector<std::string> pages;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_THAT(entries[i], testing::IsSupersetOf(expected[i]));
        if (const auto page = entries[i].find("TOLMIRA_PAGE"); page != entries[i].end()) {
            pages.push_back(page->second);
        }
    }
    EXPECT_THAT(pages, testing::ElementsAre("0", "1", "1", "2"));
}

}  // namespace

/** pieces_bench: the steps of sending a byte and of starting a run. */
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "link/controllermessages.h"
#include "link/mailbox.h"
#include "link/routercomms.h"
#include "logger/logger.h"
#include "platform/configuration.h"
#include "tests/support/testdirectory.h"
#include "tool/createtolmiracomms.h"

namespace {

constexpr size_t REGION_WORDS = REGION_SIZE / 4;
constexpr size_t MAILBOX_WORD = MAILBOX_OFFSET / 4;
constexpr size_t PAGE_SIZE = 256;

/** The card's address space in this process, and the tool's mailbox over it. */
struct Card {
    std::vector<uint32_t> region = std::vector<uint32_t>(REGION_WORDS);
    std::unique_ptr<RouterCommsInterface> comms{
        CreateTolmiraComms(region.data(), e_SwitcherMode_Pelwin)};

    void set(unsigned address, unsigned char byte) { region[MAILBOX_WORD + address] = byte; }
};

void MailboxRead(benchmark::State& state) {
    Card card;
    for ([[maybe_unused]] const auto turn : state) {
        benchmark::DoNotOptimize(card.comms->readAddress(MAILBOX_TX_FLAG));
    }
}
BENCHMARK(MailboxRead);

void MailboxWrite(benchmark::State& state) {
    Card card;
    for ([[maybe_unused]] const auto turn : state) {
        card.comms->writeAddress(MAILBOX_TX_DATA, 0x5A);
    }
}
BENCHMARK(MailboxWrite);

/** A mailbox in memory whose state is ready and which takes each byte at once. */
class ReadyMailbox final : public RouterCommsInterface {
  public:
    unsigned char readAddress(unsigned int address) override {
        return address == MAILBOX_TX_STATE ? STATE_READY : TX_BYTE_TAKEN;
    }
    void writeAddress(unsigned int address, unsigned char value) override {
        i_bytes[address] = value;
        benchmark::DoNotOptimize(i_bytes[address]);
    }

  private:
    std::array<unsigned char, 32> i_bytes = {};
};

void SendByteWhenTaken(benchmark::State& state) {
    ReadyMailbox mailbox;
    RouterCommWriter writer(&mailbox);
    for ([[maybe_unused]] const auto turn : state) {
        benchmark::DoNotOptimize(writer.sendByte(0x5A));
    }
}
BENCHMARK(SendByteWhenTaken);

void PageCrc(benchmark::State& state) {
    std::vector<char> page(PAGE_SIZE, 'x');
    for ([[maybe_unused]] const auto turn : state) {
        benchmark::DoNotOptimize(page.data());
        benchmark::DoNotOptimize(RouterCrc(page));
    }
}
BENCHMARK(PageCrc);

void PackPage(benchmark::State& state) {
    const std::vector<char> page(PAGE_SIZE, 'x');
    const TolmiraFlashPageMessage message(ControllerFlashPage(1, page, RouterCrc(page)));
    std::array<unsigned char, 2 * PAGE_SIZE> frame = {};
    for ([[maybe_unused]] const auto turn : state) {
        unsigned int size = 0;
        (void)YAMPPack(frame.data(), frame.size(), message, &size);
        benchmark::DoNotOptimize(frame);
    }
}
BENCHMARK(PackPage);

void DesignUpAndDown(benchmark::State& state) {
    std::vector<uint32_t> region(REGION_WORDS);
    for ([[maybe_unused]] const auto turn : state) {
        delete CreateTolmiraComms(region.data(), e_SwitcherMode_Pelwin);
    }
    state.SetLabel("register objects of one design, with their heap");
}
BENCHMARK(DesignUpAndDown)->Unit(benchmark::kMicrosecond);

/** While it lives, sends standard output to /dev/null, unbuffered as in the tool. */
class QuietOutput {
  public:
    QuietOutput() : i_saved(dup(STDOUT_FILENO)) {
        fflush(stdout);
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, STDOUT_FILENO);
        close(null);
    }
    ~QuietOutput() {
        fflush(stdout);
        dup2(i_saved, STDOUT_FILENO);
        close(i_saved);
    }
    QuietOutput(const QuietOutput&) = delete;
    QuietOutput& operator=(const QuietOutput&) = delete;

  private:
    int i_saved;
};

void LogLineSuppressed(benchmark::State& state) {
    for ([[maybe_unused]] const auto turn : state) {
        LOG_MESSAGE(DEBUG, "Page %d %s\n", 7, "sent successfully");
    }
}
BENCHMARK(LogLineSuppressed);

void LogLineShown(benchmark::State& state) {
    const QuietOutput quiet;
    for ([[maybe_unused]] const auto turn : state) {
        LOG_MESSAGE(NOTICE, "Page %d %s\n", 7, "sent successfully");
        fflush(stdout);
    }
}
BENCHMARK(LogLineShown);

void LoadConfiguration(benchmark::State& state) {
    const testsupport::TestDirectory directory;
    std::string text;
    for (int key = 0; key < state.range(0); ++key) {
        text += "KEY_" + std::to_string(key) + " = " + std::to_string(key * 7) + "\n";
    }
    const std::string file = directory.write("configuration", text);
    for ([[maybe_unused]] const auto turn : state) {
        Configuration configuration;
        (void)configuration.load(file, true);
        benchmark::DoNotOptimize(configuration);
    }
}
BENCHMARK(LoadConfiguration)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

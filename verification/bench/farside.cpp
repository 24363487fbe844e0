#include "verification/bench/farside.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <new>
#include <stdexcept>
#include <string>

#include "link/mailbox.h"
#include "verification/bench/pinned.h"
#include "verification/bench/samples.h"
#include "verification/bench/wire.h"

namespace bench {

namespace {

constexpr uint32_t REVISION = 1;

void Store(volatile uint32_t& word, uint32_t value) {
    std::atomic_thread_fence(std::memory_order_release);
    word = value;
}

/** Polls without a pause, as the hardware port of a controller does. */
void Await(const volatile uint32_t& word, uint32_t value) {
    while (word != value) {
    }
    std::atomic_thread_fence(std::memory_order_acquire);
}

}  // namespace

/** Shared by the two processes: the expected transfer and its result. */
struct FarSide::Order {
    std::atomic<uint32_t> expected{0};
    std::atomic<uint32_t> armed{0};
    std::atomic<uint32_t> done{0};
    uint32_t pages = 0;
    Transfer transfer;
};

FarSide::FarSide(volatile uint32_t* mailbox, int processor) : i_mailbox(mailbox) {
    void* shared =
        mmap(nullptr, sizeof(Order), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) {
        throw std::runtime_error("cannot allocate shared memory");
    }
    i_order = new (shared) Order;
    i_process = ForkPinned(processor);
    if (i_process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        serve();
    }
}

FarSide::~FarSide() {
    kill(i_process, SIGKILL);
    waitpid(i_process, nullptr, 0);
    munmap(i_order, sizeof(Order));
}

void FarSide::expect(uint32_t pages) {
    i_order->pages = pages;
    const uint32_t number = ++i_order->expected;
    while (i_order->armed != number) {
    }
}

Transfer FarSide::result() const {
    const uint64_t start = NanosecondsNow();
    while (i_order->done != i_order->expected) {
        if (NanosecondsNow() - start > 1000000000) {
            throw std::runtime_error("the transfer did not end within a second");
        }
    }
    return i_order->transfer;
}

void FarSide::serve() {
    for (;;) {
        while (i_order->expected == i_order->armed) {
        }
        for (unsigned address = MAILBOX_RX_DATA; address <= MAILBOX_TX_STATE; ++address) {
            i_mailbox[address] = 0;
        }
        i_mailbox[MAILBOX_REVISION_LOW] = REVISION;
        i_mailbox[MAILBOX_REVISION_HIGH] = 0;
        Store(i_mailbox[MAILBOX_TX_STATE], STATE_REQUESTED);
        i_order->armed = i_order->expected.load();
        serveTransfer();
        i_order->done = i_order->armed.load();
    }
}

void FarSide::serveTransfer() {
    volatile uint32_t* const mailbox = i_mailbox;
    uint64_t bytes = 0;
    uint32_t byte = 0;
    const auto take = [&](size_t count) {
        for (size_t i = 0; i < count; ++i) {
            Await(mailbox[MAILBOX_TX_FLAG], TX_BYTE_OFFERED);
            byte = mailbox[MAILBOX_TX_DATA];
            Store(mailbox[MAILBOX_TX_FLAG], TX_BYTE_TAKEN);
        }
        bytes += count;
    };
    const auto give = [&](const Frame& frame) {
        for (const unsigned char next : frame) {
            mailbox[MAILBOX_RX_DATA] = next;
            Store(mailbox[MAILBOX_RX_FLAG], RX_BYTE_OFFERED);
            Await(mailbox[MAILBOX_RX_FLAG], RX_BYTE_TAKEN);
        }
        bytes += frame.size();
    };
    const Frame answer = GoodAnswer();
    Await(mailbox[MAILBOX_RX_STATE], STATE_REQUESTED);
    Store(mailbox[MAILBOX_RX_STATE], STATE_READY);
    Await(mailbox[MAILBOX_TX_FLAG], TX_BYTE_OFFERED);
    const uint64_t start = NanosecondsNow();
    take(BEGIN_LENGTH);
    for (uint32_t page = 0; page < i_order->pages; ++page) {
        take(PAGE_LENGTH);
        give(answer);
    }
    take(INFO_LENGTH + END_LENGTH);
    i_order->transfer = {NanosecondsNow() - start, bytes};
}

}  // namespace bench

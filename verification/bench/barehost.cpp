#include "verification/bench/barehost.h"

#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <ctime>

#include "link/mailbox.h"

namespace bench {

namespace {

/** Loads and stores without locks. */
class PlainAccess {
  public:
    PlainAccess(volatile uint32_t* mailbox, unsigned rest) : i_mailbox(mailbox), i_rest(rest) {}

    uint32_t read(unsigned address) const {
        const uint32_t value = i_mailbox[address];
        std::atomic_thread_fence(std::memory_order_acquire);
        return value;
    }
    void write(unsigned address, uint32_t value) {
        std::atomic_thread_fence(std::memory_order_release);
        i_mailbox[address] = value;
    }
    bool isReady(unsigned /*stateAddress*/) const { return true; }
    void await(unsigned address, uint32_t value) const {
        while (read(address) != value) {
            for (unsigned turn = 0; turn < i_rest; ++turn) {
                asm volatile("");
            }
        }
    }

  private:
    volatile uint32_t* i_mailbox;
    unsigned i_rest;
};

/** The least that the rules of the link require. */
class LockedAccess {
  public:
    explicit LockedAccess(volatile uint32_t* mailbox) : i_mailbox(mailbox) {}

    uint32_t read(unsigned address) {
        pthread_mutex_lock(&i_mutex);
        const uint32_t value = i_mailbox[address] & BYTE;
        pthread_mutex_unlock(&i_mutex);
        return value;
    }
    void write(unsigned address, uint32_t value) {
        pthread_mutex_lock(&i_mutex);
        i_mailbox[address] = (i_mailbox[address] & ~FIELD) | value;
        pthread_mutex_unlock(&i_mutex);
    }
    bool isReady(unsigned stateAddress) { return read(stateAddress) == STATE_READY; }
    void await(unsigned address, uint32_t value) {
        const time_t start = secondsNow();
        while (read(address) != value) {
            if (secondsNow() - start > LIMIT_SECONDS) {
                _exit(EXIT_FAILURE);
            }
        }
    }

  private:
    static constexpr uint32_t BYTE = 0xFF;
    static constexpr uint32_t FIELD = 0x1FF;
    static constexpr time_t LIMIT_SECONDS = 2;

    static time_t secondsNow() {
        timeval now = {};
        gettimeofday(&now, nullptr);
        return now.tv_sec;
    }

    volatile uint32_t* i_mailbox;
    pthread_mutex_t i_mutex = PTHREAD_MUTEX_INITIALIZER;
};

template <typename Access>
void Send(Access& access, const Frame& frame) {
    for (const unsigned char byte : frame) {
        // Two reads, as the rules require. After the first, a host turns on a requested direction.
        if (!access.isReady(MAILBOX_TX_STATE) || !access.isReady(MAILBOX_TX_STATE)) {
            _exit(EXIT_FAILURE);
        }
        access.write(MAILBOX_TX_DATA, byte);
        access.write(MAILBOX_TX_FLAG, TX_BYTE_OFFERED);
        access.await(MAILBOX_TX_FLAG, TX_BYTE_TAKEN);
    }
}

template <typename Access>
void ReceiveAnswer(Access& access) {
    volatile unsigned char answer[9];
    for (volatile unsigned char& byte : answer) {
        if (!access.isReady(MAILBOX_RX_STATE)) {
            _exit(EXIT_FAILURE);
        }
        access.await(MAILBOX_RX_FLAG, RX_BYTE_OFFERED);
        byte = static_cast<unsigned char>(access.read(MAILBOX_RX_DATA));
        access.write(MAILBOX_RX_FLAG, RX_BYTE_TAKEN);
    }
}

template <typename Access>
void SendUpgrade(Access access, const std::vector<Frame>& frames) {
    access.write(MAILBOX_TX_STATE, STATE_READY);
    access.write(MAILBOX_RX_STATE, STATE_REQUESTED);
    access.await(MAILBOX_RX_STATE, STATE_READY);
    for (const Frame& frame : frames) {
        Send(access, frame);
        if (frame.size() == PAGE_LENGTH) {
            ReceiveAnswer(access);
        }
    }
}

}  // namespace

void SendUpgradePlainly(volatile uint32_t* mailbox, const std::vector<Frame>& frames,
                        unsigned rest) {
    SendUpgrade(PlainAccess(mailbox, rest), frames);
}

void SendUpgradeByTheRules(volatile uint32_t* mailbox, const std::vector<Frame>& frames) {
    SendUpgrade(LockedAccess(mailbox), frames);
}

}  // namespace bench

#include "verification/campaign/interruptedruns.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <map>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "companions/simulator/controller/random.h"
#include "link/mailbox.h"
#include "tests/support/image.h"

namespace campaign {

namespace {

using std::chrono::milliseconds;

/** Where the tool was killed: X(name, words). */
#define KILL_POINTS(X)                                       \
    X(BeforeRequest, "direction not asked for")              \
    X(Requested, "direction asked for, nothing sent")        \
    X(InBegin, "in the opening message")                     \
    X(AfterBegin, "after the opening message")               \
    X(InPage0, "in page 0")                                  \
    X(InPage1, "in page 1")                                  \
    X(InLaterPage, "in a later page")                        \
    X(BeforeAnswer, "page sent, nothing of the answer read") \
    X(InAnswer, "in an answer")                              \
    X(AfterAnswer, "answer read")                            \
    X(InInfo, "in the information or before it")             \
    X(InEnd, "in the end message or before it")              \
    X(AllSent, "all sent")                                   \
    X(InVain, "waiting for a missing answer, resetting")

enum KillPoint {
#define KILL_POINT(name, words) e_##name,
    KILL_POINTS(KILL_POINT)
#undef KILL_POINT
        e_KillPoints,
};

constexpr const char* KILL_POINT_NAMES[] = {
#define KILL_POINT(name, words) words,
    KILL_POINTS(KILL_POINT)
#undef KILL_POINT
};

/** How the tool is started again. */
enum Way { e_AtOnce, e_Pause, e_NoImage, e_Supervised, e_Ways };

constexpr const char* WAY_NAMES[e_Ways] = {
    "at once",
    "after a pause of 5 seconds",
    "after a run with a missing image",
    "through tolmira_run",
};

/** Longer than the controller's timeout for the rest of a message. */
constexpr milliseconds PAUSE{5000};

/** The result of a run. */
enum Result { e_Upgraded, e_OnStaleAnswer, e_AlreadyCurrent, e_Failed, e_Results };

constexpr unsigned MOST_RUNS = 3;

/** One for each of the tool's attempts at a page. */
constexpr unsigned REFUSALS = 5;

struct Row {
    std::atomic<uint64_t> hits;
    std::atomic<uint64_t> results[MOST_RUNS][e_Results];
};

struct Table {
    std::atomic<uint64_t> runs;
    std::atomic<uint64_t> findings;
    std::atomic<uint64_t> neverUpgraded;
    Row rows[e_Ways][e_KillPoints];
    /**
     * Second runs with a controller that refuses the last page: failed, and successful. The last
     * row has the runs through tolmira_run with a controller that keeps its answers.
     */
    std::atomic<uint64_t> refused[e_Ways + 1][e_KillPoints][2];
    /** The bytes that the kill left at each address. */
    std::atomic<bool> left[e_KillPoints][MAILBOX_TX_STATE + 1][256];
};

constexpr size_t BEGIN_SIZE = 8;
constexpr size_t PAGE_SIZE = 272;
constexpr size_t INFO_SIZE = 12;
constexpr size_t END_SIZE = 8;
constexpr size_t ANSWER_SIZE = 9;

/** From the bytes that a faultless controller has taken and given. */
KillPoint KillPointInPages(size_t taken, size_t given) {
    const size_t page = taken / PAGE_SIZE;
    if (taken % PAGE_SIZE != 0) {
        return page == 0 ? e_InPage0 : page == 1 ? e_InPage1 : e_InLaterPage;
    }
    if (page * ANSWER_SIZE == given) {
        return page == 0 ? e_AfterBegin : e_AfterAnswer;
    }
    return given % ANSWER_SIZE == 0 ? e_BeforeAnswer : e_InAnswer;
}

bool Holds(const Words& words, unsigned address, unsigned char byte) {
    return (words[address] & 0xFF) == byte;
}

/** `words`: the mailbox as the tool left it. */
KillPoint KillPointOf(const EmbeddedController& controller, const Words& words, size_t pages) {
    const size_t taken = controller.bytesTaken();
    const bool off = Holds(words, MAILBOX_RX_STATE, STATE_ABSENT);
    if (taken < BEGIN_SIZE) {
        return taken != 0 ? e_InBegin : off ? e_BeforeRequest : e_Requested;
    }
    const size_t closing = BEGIN_SIZE + pages * PAGE_SIZE;
    if (taken < closing || controller.bytesGiven() < pages * ANSWER_SIZE) {
        return off ? e_InVain : KillPointInPages(taken - BEGIN_SIZE, controller.bytesGiven());
    }
    if (taken < closing + INFO_SIZE) {
        return e_InInfo;
    }
    return taken < closing + INFO_SIZE + END_SIZE ? e_InEnd : e_AllSent;
}

bool LastPageTaken(const EmbeddedController& controller, const Scenario& scenario) {
    return controller.bytesTaken() >= BEGIN_SIZE + Pages(scenario) * PAGE_SIZE;
}

bool Says(const ToolEnd& end, const char* text) {
    return end.out.find(text) != std::string::npos;
}

/** One interrupted run, and the runs after it. */
class Interruption {
  public:
    Interruption(TestBench& bench, Table& table, uint64_t seed)
        : i_bench(bench), i_table(table), i_seed(seed), i_random(seed) {}

    void run();

  private:
    void choose();
    uint64_t chooseLock();
    void kill();
    void goOn();
    ToolEnd startAgain();
    bool runAgain(unsigned number);
    void goOnRefused();
    Result judge(const ToolEnd& end);
    void require(bool condition, const char* otherwise, const ToolEnd& end);

    TestBench& i_bench;
    Table& i_table;
    uint64_t i_seed;
    controller::Random i_random;
    Scenario i_scenario;
    std::unique_ptr<EmbeddedController> i_controller;
    /** The controller doesn't answer page 0, so the tool resets the mailbox. */
    bool i_silent = false;
    /** The controller refuses the last page. */
    bool i_refused = false;
    Way i_way = e_AtOnce;
    KillPoint i_killPoint = e_BeforeRequest;
};

/** The locks that a whole run has taken at each of its calls, by the kill point of the call. */
using LocksByKillPoint = std::map<KillPoint, std::vector<uint64_t>>;

LocksByKillPoint Watch(TestBench& bench, const Scenario& scenario) {
    LocksByKillPoint locks;
    const auto controller = bench.prepare(scenario);
    bench.runTool(*controller, scenario, 0, [&](uint64_t count) {
        const KillPoint killPoint = KillPointOf(*controller, controller->words(), Pages(scenario));
        for (uint64_t start = 0; locks.empty() && start < count; ++start) {
            locks[e_BeforeRequest].push_back(start);
        }
        // After a reset or a refused page the run only repeats what it has done.
        const bool refused =
            scenario.faults.size() == REFUSALS && LastPageTaken(*controller, scenario);
        if (controller->resets() == 0 && !refused) {
            locks[killPoint].push_back(count);
        }
    });
    return locks;
}

/** For a run without a silence, whose locks don't depend on its start time. */
const LocksByKillPoint& LocksOf(TestBench& bench, const Scenario& scenario) {
    static std::map<std::pair<size_t, size_t>, LocksByKillPoint> known;
    LocksByKillPoint& locks = known[{scenario.payload, scenario.faults.size()}];
    if (locks.empty()) {
        locks = Watch(bench, scenario);
    }
    return locks;
}

/** All kill points are equally likely, and so are all accesses within one. */
uint64_t Interruption::chooseLock() {
    constexpr uint32_t locksToNextCall = 6;
    if (i_silent) {
        // From the last poll to the end of the reset.
        const uint64_t lastPoll = Watch(i_bench, i_scenario).at(e_BeforeAnswer).back();
        return lastPoll + 1 + i_random.below(locksToNextCall + 2);
    }
    const LocksByKillPoint& locks = LocksOf(i_bench, i_scenario);
    const auto oneOf = [this](const auto& items) {
        return std::next(items.begin(), i_random.below(static_cast<uint32_t>(items.size())));
    };
    const uint64_t lock = *oneOf(oneOf(locks)->second);
    return lock + 1 + i_random.below(locksToNextCall);
}

void Interruption::kill() {
    const uint64_t lock = chooseLock();
    i_controller = i_bench.prepare(i_scenario);
    const ToolEnd end = i_bench.runTool(*i_controller, i_scenario, lock);
    // Near the end of the run, the tool may exit before it is killed.
    const int ownEnd = i_refused ? 255 : 0;
    require(end.signal == SIGKILL || end.exitValue == ownEnd, "ended without being killed", end);
    const Words left = i_controller->words();
    // The controller takes a byte on offer even if the tool is dead.
    i_controller->idle(milliseconds(0));
    i_killPoint = KillPointOf(*i_controller, left, Pages(i_scenario));
    if (i_silent && i_killPoint == e_BeforeAnswer) {
        i_killPoint = e_InVain;
    }
    for (unsigned address = MAILBOX_RX_FLAG; address <= MAILBOX_TX_STATE; ++address) {
        i_table.left[i_killPoint][address][left[address] & 0xFF] = true;
    }
}

void Interruption::goOn() {
    if (i_way == e_Pause) {
        i_controller->idle(PAUSE);
    } else if (i_way == e_NoImage) {
        Scenario missing = i_scenario;
        missing.image = ImageKind::Missing;
        i_bench.writeImage(missing);
        const ToolEnd end = i_bench.runTool(*i_controller, i_scenario);
        require(end.exitValue == 255, "success without an image", end);
        i_bench.writeImage(i_scenario);
    }
}

void Interruption::require(bool condition, const char* otherwise, const ToolEnd& end) {
    if (!condition) {
        ++i_table.findings;
        const std::string text = "FINDING: scripts/campaign --interrupted 1 --seed " +
                                 std::to_string(i_seed) + ": " + otherwise + "; killed " +
                                 KILL_POINT_NAMES[i_killPoint] + ", started again " +
                                 WAY_NAMES[i_way] + "\n" + end.out + end.err;
        fwrite(text.data(), 1, text.size(), stdout);
        fflush(stdout);
    }
}

Result Interruption::judge(const ToolEnd& end) {
    const bool upgraded =
        i_controller->flash() == testsupport::ExpectedFlash(PayloadOf(i_scenario)) &&
        i_controller->revision() == TOOL_REVISION;
    if (end.exitValue == 0) {
        require(upgraded, "success without an upgrade", end);
        const bool unread = Holds(i_controller->words(), MAILBOX_RX_FLAG, RX_BYTE_OFFERED);
        require(!unread || i_way != e_Supervised, "success with an answer unread", end);
        return unread ? e_OnStaleAnswer : e_Upgraded;
    }
    if (Says(end, "Controller is already at revision")) {
        require(upgraded && end.exitValue == 255, "already current without an upgrade", end);
        return e_AlreadyCurrent;
    }
    const bool reported =
        i_way == e_Supervised ? !end.err.empty() : end.exitValue == 255 && Says(end, "S: ERROR");
    require(reported, "a failure without a report", end);
    return e_Failed;
}

ToolEnd Interruption::startAgain() {
    return i_way == e_Supervised ? i_bench.superviseTool(*i_controller)
                                 : i_bench.runTool(*i_controller, i_scenario);
}

/** True if the controller needs no further run. */
bool Interruption::runAgain(unsigned number) {
    const Result result = judge(startAgain());
    ++i_table.rows[i_way][i_killPoint].results[number][result];
    return result != e_Failed;
}

/** A bad result for each attempt at the last page. */
controller::Schedule Refusal(uint16_t lastPage) {
    controller::Schedule faults;
    for (unsigned attempt = 1; attempt <= REFUSALS; ++attempt) {
        faults.push_back({controller::FaultKind::Result,
                          1,
                          {controller::HostMessage::Page, lastPage, attempt, 0}});
    }
    return faults;
}

void Interruption::choose() {
    i_scenario.payload = i_random.oneOf({2, 100, 256, 258, 511, 700, 1000});
    i_scenario.start = i_random.below(US_PER_SECOND);
    i_way = static_cast<Way>(i_random.below(e_Ways));
    i_silent = i_random.oneIn(10);
    if (i_silent) {
        i_scenario.faults = {{controller::FaultKind::Silence, {}, {}}};
    }
    i_refused = !i_silent && Pages(i_scenario) > 1 && !i_random.oneIn(3);
    if (i_refused) {
        i_scenario.faults = Refusal(static_cast<uint16_t>(Pages(i_scenario) - 1));
        // Mostly through the program that must never falsely report success.
        i_way = i_random.oneIn(4) ? i_way : e_Supervised;
        i_scenario.keepsAnswers = i_way == e_Supervised && i_random.oneIn(2);
    }
}

void Interruption::run() {
    choose();
    kill();
    if (i_refused) {
        goOnRefused();
        return;
    }
    ++i_table.runs;
    ++i_table.rows[i_way][i_killPoint].hits;
    goOn();
    unsigned number = 0;
    while (number < MOST_RUNS && !runAgain(number)) {
        ++number;
    }
    i_table.neverUpgraded += number == MOST_RUNS ? 1 : 0;
}

/** Skips runs killed after the last page was refused, which show nothing. */
void Interruption::goOnRefused() {
    if (LastPageTaken(*i_controller, i_scenario)) {
        return;
    }
    ++i_table.runs;
    goOn();
    const ToolEnd end = startAgain();
    const bool success = end.exitValue == 0;
    require(!success || i_way != e_Supervised, "success with a page refused", end);
    ++i_table.refused[i_scenario.keepsAnswers ? e_Ways : i_way][i_killPoint][success ? 1 : 0];
}

void PrintRow(const char* name, const Row& row) {
    printf("%-40s %6lu", name, row.hits.load());
    for (const auto& results : row.results) {
        printf("  |%5lu %5lu %5lu %5lu", results[e_Upgraded].load(),
               results[e_OnStaleAnswer].load(), results[e_AlreadyCurrent].load(),
               results[e_Failed].load());
    }
    printf("\n");
}

/** The bytes at addresses 6, 7, 9 and 10. */
void PrintLeft(const Table& table, size_t killPoint) {
    printf("%-40s", KILL_POINT_NAMES[killPoint]);
    for (const unsigned address :
         {MAILBOX_RX_FLAG, MAILBOX_RX_STATE, MAILBOX_TX_FLAG, MAILBOX_TX_STATE}) {
        std::string text = std::to_string(address) + ":";
        for (size_t byte = 0; byte < std::size(table.left[killPoint][address]); ++byte) {
            text += table.left[killPoint][address][byte] ? " " + std::to_string(byte) : "";
        }
        printf("  %-14s", text.c_str());
    }
    printf("\n");
}

void PrintRefused(const Table& table) {
    printf(
        "\nSecond runs with a controller that refuses the last page: failed, and successful\n"
        "%-40s  %-15s %-15s %-15s %-15s %-15s\n",
        "killed", "at once", "pause", "missing image", "tolmira_run", "answers kept");
    for (size_t killPoint = 0; killPoint < e_KillPoints; ++killPoint) {
        printf("%-40s", KILL_POINT_NAMES[killPoint]);
        for (const auto& way : table.refused) {
            printf("  %6lu %6lu ", way[killPoint][0].load(), way[killPoint][1].load());
        }
        printf("\n");
    }
}

void PrintTable(const Table& table) {
    for (size_t way = 0; way < e_Ways; ++way) {
        printf(
            "\nStarted again %s.\nBy run: upgraded, upgraded with an answer left unread, "
            "nothing to do, failed\n%-40s %6s  | %-23s | %-23s | %-23s\n",
            WAY_NAMES[way], "killed", "runs", "second run", "third run", "fourth run");
        for (size_t killPoint = 0; killPoint < e_KillPoints; ++killPoint) {
            PrintRow(KILL_POINT_NAMES[killPoint], table.rows[way][killPoint]);
        }
    }
    PrintRefused(table);
    printf("\nBytes that the kill left in the mailbox, by address\n");
    for (size_t killPoint = 0; killPoint < e_KillPoints; ++killPoint) {
        PrintLeft(table, killPoint);
    }
    printf("\ninterrupted runs %lu, findings %lu, not upgraded after %u more runs: %lu\n",
           table.runs.load(), table.findings.load(), MOST_RUNS, table.neverUpgraded.load());
}

}  // namespace

bool RunInterrupted(const Programs& programs, uint64_t seed, const WorkLimits& extent) {
    auto* table = new (SharedMemory(sizeof(Table))) Table{};
    const bool good = DistributeWork(extent, [&] {
        const auto bench = std::make_shared<TestBench>(programs);
        return [bench, table, seed](uint64_t run) {
            Interruption(*bench, *table, SeedOfRun(seed, run)).run();
        };
    });
    PrintTable(*table);
    return good && table->findings == 0;
}

}  // namespace campaign

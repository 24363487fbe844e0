/**
 * tolmira_controller: the far side of the mailbox in a process of its own, for demos and tests.
 * It announces itself, receives an upgrade into its flash, answers each page, and tells at its end
 * what it holds. A signal to terminate or interrupt ends it in order.
 */
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "companions/simulator/controller/conversation.h"
#include "companions/simulator/controller/faultplan.h"
#include "companions/simulator/controller/flash.h"
#include "companions/simulator/controller/journal.h"
#include "companions/simulator/controller/pacer.h"
#include "companions/simulator/controller/report.h"
#include "companions/simulator/controller/session.h"
#include "companions/simulator/controller/settings.h"
#include "companions/simulator/controller/sharedregion.h"
#include "cpputils/include/standarddescriptors.h"

namespace controller {

namespace {

volatile sig_atomic_t stopRequested = 0;

void RequestStop(int /*signal*/) {
    stopRequested = 1;
}

void CatchSignals() {
    struct sigaction action = {};
    action.sa_handler = RequestStop;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

/** Looks at nothing until it is time to appear. */
void DelayAppearance(std::chrono::milliseconds time) {
    Pacer pacer;
    const auto end = Pacer::Clock::now() + time;
    while (stopRequested == 0 && Pacer::Clock::now() < end) {
        pacer.miss();
    }
}

/**
 * How long to stay away. The host's polls can't be seen from here, but come a second apart; halfway
 * between two of them is the furthest from both, if host and controller start together.
 */
std::chrono::milliseconds Absence(const Settings& settings, const FaultPlan& plan) {
    const std::optional<uint32_t> poll = plan.appearsOnPoll();
    if (!poll) {
        return std::chrono::milliseconds(settings.appearAfterMs);
    }
    return std::chrono::seconds(*poll) - std::chrono::milliseconds(*poll == 0 ? 0 : 500);
}

/** The time for the session, which is looked up only where a fault may depend on it. */
Session::Time Now(const FaultPlan& plan) {
    return plan.empty()
               ? Session::Time()
               : std::chrono::duration_cast<Session::Time>(Pacer::Clock::now().time_since_epoch());
}

void Serve(Session& session, const FaultPlan& plan, Journal& journal, const Settings& settings) {
    Pacer pacer;
    while (stopRequested == 0 && !(settings.once && session.finished())) {
        if (session.poll(Now(plan))) {
            pacer.busy();
            continue;
        }
        const std::chrono::milliseconds quiet = pacer.miss();
        session.idle(quiet);
        if (settings.idleTimeoutS != 0 && quiet >= std::chrono::seconds(settings.idleTimeoutS)) {
            journal.finding("nothing from a host for " + std::to_string(settings.idleTimeoutS) +
                            " seconds");
            return;
        }
    }
}

Report Summary(const Flash& flash, const Conversation& conversation, const Session& session,
               const Journal& journal) {
    const Counts& counts = conversation.counts();
    return {
        {"flash pages", flash.pages()},        {"flash bytes", flash.size()},
        {"checksum", conversation.checksum()}, {"revision", session.revision()},

        {"resets", session.resets()},          {"begin messages", counts.begins},
        {"page messages", counts.pages},       {"info messages", counts.infos},
        {"end messages", counts.ends},         {"unknown messages", counts.unknown},
        {"good pages", counts.goodPages},      {"bad pages", counts.badPages},
        {"upgrades", counts.upgrades},         {"faults", journal.faults()},
        {"findings", journal.findings()},
    };
}

void Save(const Flash& flash, Journal& journal, const std::string& fileName) {
    if (!fileName.empty() && !flash.save(fileName)) {
        fprintf(stderr, "tolmira_controller: cannot write %s: %s; give --flash another place\n",
                fileName.c_str(), strerror(errno));
        journal.finding("flash not saved");
    }
}

int Run(const Settings& settings) {
    SharedRegion region;
    if (!region.open(settings.object, REGION_SIZE)) {
        fprintf(stderr, "tolmira_controller: shared memory %s: %s; check the name and /dev/shm\n",
                settings.object.c_str(), region.error().c_str());
        return EXIT_FAILURE;
    }
    Journal journal(std::cout, settings.trace);
    Flash flash;
    Conversation conversation(flash, journal, settings.expectedChecksum);
    auto* words =
        reinterpret_cast<uint32_t*>(static_cast<char*>(region.address()) + MAILBOX_OFFSET);
    FaultPlan plan(settings.faults, journal);
    Session session(MailboxPort(words), conversation, plan, journal, settings.behaviour,
                    [&] { Save(flash, journal, settings.flashFile); });
    if (!plan.empty()) {
        journal.event("faults " + ScheduleText(settings.faults));
    }
    session.clear();
    journal.event("waiting at " + settings.object);
    DelayAppearance(Absence(settings, plan));
    if (stopRequested == 0) {
        session.announce();
        Serve(session, plan, journal, settings);
        session.finish();
        session.withdraw();
    }
    Save(flash, journal, settings.flashFile);
    const Report report = Summary(flash, conversation, session, journal);
    (settings.json ? PrintReportAsJson : PrintReport)(std::cout, report);
    return journal.findings() == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

}  // namespace controller

int main(int argc, char** argv) {
    OpenStandardDescriptors();
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    int exitValue = 0;
    const auto settings = controller::ReadCommandLine(argc, argv, exitValue);
    if (!settings) {
        return exitValue;
    }
    controller::CatchSignals();
    return controller::Run(*settings);
}

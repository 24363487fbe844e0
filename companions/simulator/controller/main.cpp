/**
 * tolmira_controller: simulates the controller at the mailbox, for demos and tests. It announces
 * itself, receives an upgrade into its flash, answers each page, and prints a report at its end.
 * SIGTERM and SIGINT end it cleanly.
 */
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "companions/commandline/failure.h"
#include "companions/commandline/printable.h"
#include "companions/simulator/controller/conversation.h"
#include "companions/simulator/controller/eventlog.h"
#include "companions/simulator/controller/faultplan.h"
#include "companions/simulator/controller/flash.h"
#include "companions/simulator/controller/occupant.h"
#include "companions/simulator/controller/pacer.h"
#include "companions/simulator/controller/report.h"
#include "companions/simulator/controller/session.h"
#include "companions/simulator/controller/settings.h"
#include "companions/simulator/controller/sharedregion.h"
#include "cpputils/include/standarddescriptors.h"
#include "link/mailbox.h"

namespace controller {

namespace {

constexpr char NAME[] = "tolmira_controller";

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

/** Waits without touching the mailbox. */
void DelayAppearance(std::chrono::milliseconds time) {
    Pacer pacer;
    const auto end = Pacer::Clock::now() + time;
    while (stopRequested == 0 && Pacer::Clock::now() < end) {
        pacer.miss();
    }
}

/**
 * How long to stay absent. The host's polls can't be seen from here, but come a second apart. If
 * host and controller start together, halfway between two polls is the furthest from both.
 */
std::chrono::milliseconds Absence(const ControllerSettings& settings, const FaultPlan& plan) {
    const std::optional<uint32_t> poll = plan.appearsOnPoll();
    if (!poll) {
        return std::chrono::milliseconds(settings.appearAfterMs);
    }
    return std::chrono::seconds(*poll) - std::chrono::milliseconds(*poll == 0 ? 0 : 500);
}

/** The time for the session; the clock is read only if a fault may depend on it. */
Session::Time Now(const FaultPlan& plan) {
    return plan.empty()
               ? Session::Time()
               : std::chrono::duration_cast<Session::Time>(Pacer::Clock::now().time_since_epoch());
}

void Converse(Session& session, const FaultPlan& plan, EventLog& events,
              const ControllerSettings& settings) {
    Pacer pacer;
    while (stopRequested == 0 && !(settings.once && session.finished())) {
        if (session.poll(Now(plan))) {
            pacer.busy();
            continue;
        }
        const std::chrono::milliseconds quiet = pacer.miss();
        session.idle(quiet);
        if (settings.idleTimeoutS != 0 && quiet >= std::chrono::seconds(settings.idleTimeoutS)) {
            events.finding("no host activity for " + std::to_string(settings.idleTimeoutS) +
                           " seconds");
            return;
        }
    }
    session.poll(Now(plan));  // what the host did since the last poll
}

Report Summary(const Flash& flash, const Conversation& conversation, const Session& session,
               const EventLog& events) {
    const MessageCounts& counts = conversation.counts();
    return {
        {"flash pages", flash.pages()},
        {"flash bytes", flash.size()},
        {"checksum", commandline::ChecksumText(conversation.checksum())},
        {"revision", session.revision()},

        {"resets", session.resets()},
        {"begin messages", counts.begins},
        {"page messages", counts.pages},
        {"info messages", counts.infos},
        {"end messages", counts.ends},
        {"unknown messages", counts.unknown},
        {"good pages", counts.goodPages},
        {"bad pages", counts.badPages},
        {"upgrades", counts.upgrades},
        {"faults", events.faults()},
        {"findings", events.findings()},
    };
}

void Save(const Flash& flash, EventLog& events, const std::string& fileName) {
    if (!fileName.empty() && !flash.save(fileName)) {
        // Not as JSON, since standard output is for the report.
        commandline::ReportFailure(NAME,
                                   "cannot write " + fileName + ": " + strerror(errno) +
                                       "; choose another file with --flash",
                                   EXIT_FAILURE, false);
        events.finding("flash not saved");
    }
}

/** Opens and locks the object; returns the error, if any. */
std::string TakeObject(SharedRegion& region, const ControllerSettings& settings) {
    if (!region.open(settings.object)) {
        return region.error() + "; check the name and /dev/shm";
    }
    const std::string occupant =
        OccupantOf(region.descriptor(), MailboxPort(region.mailbox()).read(MAILBOX_TX_STATE));
    return settings.force ? "" : occupant;
}

int Serve(const SharedRegion& region, const ControllerSettings& settings) {
    // With JSON, standard output is for the report alone.
    EventLog events(settings.json ? std::cerr : std::cout, settings.trace);
    Flash flash;
    Conversation conversation(flash, events, settings.expectedChecksum);
    FaultPlan plan(settings.faults, events);
    Session session(MailboxPort(region.mailbox()), conversation, plan, events, settings.behaviour,
                    [&] { Save(flash, events, settings.flashFile); });
    if (!plan.empty()) {
        events.event("faults " + ScheduleText(settings.faults));
    }
    session.clear();
    events.event("waiting at " + commandline::Printable(settings.object));
    DelayAppearance(Absence(settings, plan));
    if (stopRequested == 0) {
        session.announce();
        Converse(session, plan, events, settings);
        session.finish();
        session.withdraw();
    }
    Save(flash, events, settings.flashFile);
    const Report report = Summary(flash, conversation, session, events);
    (settings.json ? PrintReportAsJson : PrintReport)(std::cout, report);
    return events.findings() == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

int Run(const ControllerSettings& settings) {
    SharedRegion region;
    const std::string wrong = TakeObject(region, settings);
    if (!wrong.empty()) {
        commandline::ReportFailure(NAME, "shared memory " + settings.object + ": " + wrong,
                                   EXIT_FAILURE, settings.json);
        return EXIT_FAILURE;
    }
    return Serve(region, settings);
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

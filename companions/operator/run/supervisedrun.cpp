#include "companions/operator/run/supervisedrun.h"

#include <poll.h>

#include <algorithm>
#include <cstring>

#include "companions/operator/inspect/inspection.h"
#include "companions/toolcontract/toolcontract.h"
#include "memory/hostlock.h"
#include "memory/mailboxpage.h"

namespace run {

namespace {

using Clock = std::chrono::steady_clock;
using status::Snapshot;
using status::TakeSnapshot;
using toollog::e_Cause;

constexpr std::chrono::milliseconds POLL_INTERVAL{100};
/** How long a controller may take to offer an answer that the tool did not read. */
constexpr std::chrono::milliseconds ANSWER_LIMIT{250};

/** Below /dev/null, which is not a directory, so that it can't exist. */
constexpr char IMPOSSIBLE_IMAGE[] = "/dev/null/none";

e_Cause CauseOf(inspect::e_Verdict verdict) {
    switch (verdict) {
        case inspect::e_Verdict_Sendable:
            return toollog::e_Cause_ImageChecked;
        case inspect::e_Verdict_NotOpened:
            return toollog::e_Cause_ImageNotOpened;
        case inspect::e_Verdict_NotTfi:
            return toollog::e_Cause_NotTfi;
        case inspect::e_Verdict_TooManyPages:
            return toollog::e_Cause_TooManyPages;
        default:
            return toollog::e_Cause_ImageNotSent;
    }
}

bool HasToolsRevision(const Snapshot& mailbox) {
    return mailbox.present() && mailbox.revision() == toolcontract::TOOL_REVISION;
}

}  // namespace

SupervisedRun::SupervisedRun(const RunSettings& settings, Signals& signals, Console& console,
                             Progress& progress, Marker marker)
    : i_settings(settings),
      i_signals(signals),
      i_console(console),
      i_progress(progress),
      i_marker(std::move(marker)),
      i_supervisor(settings, signals, console, progress) {}

Outcome SupervisedRun::perform() {
    constexpr bool (SupervisedRun::*steps[])() = {
        &SupervisedRun::takeImage,
        &SupervisedRun::judgeImage,
        &SupervisedRun::takeLock,
        &SupervisedRun::refuseBesideAnotherHost,
        &SupervisedRun::awaitController,
        &SupervisedRun::allocateMailbox,
        &SupervisedRun::recover,
        &SupervisedRun::upgrade,
        &SupervisedRun::checkForUnreadAnswer,
        &SupervisedRun::verify,
    };
    (void)std::all_of(std::begin(steps), std::end(steps),
                      [this](bool (SupervisedRun::*step)()) { return (this->*step)(); });
    const Snapshot mailbox = TakeSnapshot();
    if (mailbox.present()) {
        i_outcome.revisionAfter = mailbox.revision();
    }
    return i_outcome;
}

void SupervisedRun::close() {
    if (i_marked && i_inOrder) {
        i_lock.clearMark();
    }
    i_lock.release();
}

bool SupervisedRun::end(e_Cause cause, const std::string& happened) {
    i_outcome.cause = cause;
    i_outcome.happened = happened;
    return false;
}

bool SupervisedRun::takeImage() {
    std::optional<std::string> digest = i_settings.digest;
    std::string why;
    if (i_settings.digestFile) {
        digest = DigestIn(*i_settings.digestFile, i_settings.operands.image, why);
        if (!digest) {
            return end(toollog::e_Cause_WrongDigest,
                       "no digest in " + *i_settings.digestFile + ": " + why);
        }
    }
    const ImageFile::e_Result result = i_image.take(i_settings.operands.image, digest, why);
    i_outcome.image = i_image.facts();
    switch (result) {
        case ImageFile::e_Result_Refused:
            return end(toollog::e_Cause_ImageRefused,
                       "image refused: " + i_settings.operands.image + ": " + why);
        case ImageFile::e_Result_WrongDigest:
            return end(toollog::e_Cause_WrongDigest, "wrong digest: " + why);
        default:
            return true;
    }
}

bool SupervisedRun::judgeImage() {
    if (!i_settings.check) {
        return true;
    }
    const inspect::Inspection inspection = inspect::Inspect(i_image.path());
    const e_Cause cause = CauseOf(inspection.verdict);
    const std::string words = toollog::CAUSE_ROWS[cause].words;
    return end(cause, inspection.reason.empty() ? words : words + ": " + inspection.reason);
}

bool SupervisedRun::takeLock() {
    const RunLock::e_Result result = i_lock.take();
    if (result == RunLock::e_Result_Busy) {
        const Snapshot mailbox = TakeSnapshot();
        return end(
            toollog::e_Cause_Busy,
            "another run is under way" + (mailbox.host ? ", " + ProcessText(*mailbox.host) : ""));
    }
    if (result == RunLock::e_Result_Failed) {
        return end(toollog::e_Cause_CannotLock,
                   std::string("cannot lock ") + RunLock::FILE_NAME + ": " + i_lock.error());
    }
    i_outcome.previous = i_lock.marker();
    return true;
}

bool SupervisedRun::refuseBesideAnotherHost() {
    const Snapshot mailbox = TakeSnapshot();
    if (!mailbox.failure.empty() && !mailbox.missing) {
        return end(toollog::e_Cause_MailboxUnreadable, mailbox.failure);
    }
    if (mailbox.host) {
        return end(toollog::e_Cause_Busy,
                   "another tolmira_upgrade is at work, " + ProcessText(*mailbox.host));
    }
    if (mailbox.present()) {
        i_outcome.revisionBefore = mailbox.revision();
    }
    return true;
}

bool SupervisedRun::allocateMailbox() {
    const std::string why = AllocateMailboxPage();
    return why.empty() || end(toollog::e_Cause_MailboxUnreadable, why);
}

Snapshot SupervisedRun::await(std::chrono::milliseconds limit,
                              const std::function<bool(const Snapshot&)>& wanted,
                              const std::function<void(long)>& show) {
    const Clock::time_point end = Clock::now() + limit;
    for (;;) {
        Snapshot mailbox = TakeSnapshot();
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        i_outcome.signal = i_signals.take();
        if (wanted(mailbox) || left.count() <= 0 || i_outcome.signal != 0) {
            return mailbox;
        }
        show(std::chrono::duration_cast<std::chrono::seconds>(left).count() + 1);
        pollfd signal = {i_signals.descriptor(), POLLIN, 0};
        poll(&signal, 1, static_cast<int>(std::min(left, POLL_INTERVAL).count()));
    }
}

bool SupervisedRun::awaitController() {
    if (!i_settings.wait) {
        return true;
    }
    const Snapshot mailbox = await(
        std::chrono::seconds(*i_settings.wait), [](const Snapshot& now) { return now.present(); },
        [this](long secondsLeft) { i_progress.showWait(secondsLeft); });
    i_console.eraseProgress();
    if (i_outcome.signal != 0) {
        return end(toollog::e_Cause_StoppedBefore);
    }
    return mailbox.present() || end(toollog::e_Cause_ControllerMissing);
}

bool SupervisedRun::mark() {
    if (!i_lock.mark(i_marker)) {
        return end(toollog::e_Cause_CannotLock,
                   std::string("cannot write ") + RunLock::FILE_NAME + ": " + i_lock.error());
    }
    i_marked = true;
    return true;
}

Command SupervisedRun::toolOn(const std::string& image) const {
    Command command{i_settings.tool, i_settings.toolArguments, {i_lock.descriptor()}};
    command.arguments[i_settings.operands.imageAt] = image;
    if (i_image.descriptor() >= 0) {
        command.kept.push_back(i_image.descriptor());
    }
    return command;
}

Course SupervisedRun::makeCleanPass() {
    Course course = i_supervisor.run(toolOn(IMPOSSIBLE_IMAGE), Supervisor::e_Log_Hidden);
    i_inOrder = course.startError == 0 && !course.killed && course.ending.signal == 0 &&
                !TakeSnapshot().directionUp();
    return course;
}

bool SupervisedRun::endWithoutStart(int error) {
    return end(toollog::e_Cause_CannotStart,
               "cannot start " + i_settings.tool + ": " + strerror(error));
}

bool SupervisedRun::recover() {
    const bool inOrder = !i_outcome.previous && TakeSnapshot().inOrder();
    if (!mark()) {
        return false;
    }
    if (inOrder) {
        return true;
    }
    i_console.note("the last run did not end cleanly; making a clean pass before the upgrade");
    const Course course = makeCleanPass();
    if (course.startError != 0) {
        return endWithoutStart(course.startError);
    }
    if (course.signal != 0) {
        i_outcome.signal = course.signal;
        return end(toollog::e_Cause_StoppedBefore);
    }
    if (TakeSnapshot().directionUp()) {
        return end(toollog::e_Cause_DirectionUp);
    }
    i_outcome.recovered = i_inOrder;
    // Otherwise the upgrade would wait another minute for an absent controller.
    const bool missing = course.record.cause(course.ending.exitValue, course.ending.signal) ==
                         toollog::e_Cause_ControllerMissing;
    return !missing || end(toollog::e_Cause_ControllerMissing);
}

bool SupervisedRun::upgrade() {
    const Course course = i_supervisor.run(toolOn(i_image.path()), Supervisor::e_Log_Shown);
    if (course.startError != 0) {
        return endWithoutStart(course.startError);
    }
    takeCauseOf(course);
    if (course.ending.signal != 0) {
        cleanUpAfterKill();
    }
    return course.signal == 0 && course.ending.signal == 0 && course.ending.exitValue == 0;
}

void SupervisedRun::takeCauseOf(const Course& course) {
    i_outcome.tool = course.ending;
    i_outcome.record = course.record;
    i_outcome.signal = course.signal;
    const std::optional<long> before = i_outcome.revisionBefore;
    TakeToolsEnd(i_outcome);
    if (!i_outcome.revisionBefore) {
        i_outcome.revisionBefore = before;
    }
    if (course.signal != 0) {
        i_outcome.cause = course.record.transferring() ? toollog::e_Cause_BrokenOff
                          : course.record.ended()      ? toollog::e_Cause_StoppedAfter
                                                       : toollog::e_Cause_StoppedBefore;
    }
}

void SupervisedRun::cleanUpAfterKill() {
    const Snapshot mailbox = TakeSnapshot();
    i_inOrder = mailbox.inOrder();
    if (!mailbox.present()) {
        return;  // a clean pass would wait a minute for it
    }
    i_console.note("making a clean pass, so that the next run finds the mailbox in order");
    (void)makeCleanPass();  // if it fails, the marker stays
}

bool SupervisedRun::checkForUnreadAnswer() {
    const Snapshot mailbox = await(
        ANSWER_LIMIT, [](const Snapshot& now) { return now.answerUnread(); }, [](long) {});
    if (i_outcome.signal != 0) {
        return end(toollog::e_Cause_StoppedAfter);
    }
    return !mailbox.answerUnread() || end(toollog::e_Cause_AnswerUnread);
}

bool SupervisedRun::verify() {
    if (!i_settings.verify) {
        return true;
    }
    const Snapshot mailbox =
        await(std::chrono::seconds(i_settings.verifySeconds), HasToolsRevision, [](long) {});
    if (i_outcome.signal != 0) {
        return end(toollog::e_Cause_StoppedAfter);
    }
    i_outcome.verified = HasToolsRevision(mailbox);
    if (*i_outcome.verified) {
        return true;
    }
    return mailbox.present()
               ? end(toollog::e_Cause_OtherRevision,
                     "other revision: the controller has " + std::to_string(mailbox.revision()))
               : end(toollog::e_Cause_AbsentAfter, "absent: the controller has not come back");
}

}  // namespace run

#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "companions/operator/run/console.h"
#include "companions/operator/run/imagefile.h"
#include "companions/operator/run/mailboxlook.h"
#include "companions/operator/run/outcome.h"
#include "companions/operator/run/progress.h"
#include "companions/operator/run/runlock.h"
#include "companions/operator/run/settings.h"
#include "companions/operator/run/signals.h"
#include "companions/operator/run/supervisor.h"

namespace run {

/**
 * The story of a supervised run: the image is checked, the lock taken, a mailbox that a killed run
 * left put in order; then the tool runs; then the mailbox is looked at again, since the tool's 0
 * alone doesn't exclude an answer that was left unread, and the new revision awaited. Each step can
 * end the run; what it found is the outcome.
 *
 * The lock and its marker stay until close(), so that the report can be finished before.
 */
class SupervisedRun {
  public:
    /** `start` and `reportPath` are for the marker. All are borrowed. */
    SupervisedRun(const RunSettings& settings, Signals& signals, Console& console,
                  Progress& progress, Marker marker);

    Outcome perform();
    /** Lets the lock go; the marker too, if the mailbox is in order. */
    void close();

  private:
    bool takeImage();
    bool judgeImage();
    bool takeLock();
    bool refuseBesideAnotherHost();
    bool allocateMailbox();
    bool awaitController();
    bool recover();
    bool upgrade();
    bool lookForUnreadAnswer();
    bool verify();

    bool end(toollog::e_Cause cause, const std::string& happened = "");
    bool mark();
    Command toolOn(const std::string& image) const;
    /** Runs the tool on an image that can't exist: it sends nothing and lets the mailbox go. */
    Course makeCleanPass();
    void cleanUpAfterKill();
    void takeCauseOf(const Course& course);
    bool endWithoutStart(int error);
    /** Polls until the look is as wanted; what it was at the end. A signal cuts it short. */
    MailboxLook await(std::chrono::milliseconds limit,
                      const std::function<bool(const MailboxLook&)>& wanted,
                      const std::function<void(long secondsLeft)>& show);

    const RunSettings& i_settings;
    Signals& i_signals;
    Console& i_console;
    Progress& i_progress;
    const Marker i_marker;
    Supervisor i_supervisor;
    RunLock i_lock;
    ImageFile i_image;
    Outcome i_outcome;
    /** Whether the marker is this run's, and whether the mailbox is in order. */
    bool i_marked = false;
    bool i_inOrder = true;
};

}  // namespace run

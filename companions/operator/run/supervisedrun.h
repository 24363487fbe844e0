#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "companions/operator/run/console.h"
#include "companions/operator/run/imagefile.h"
#include "companions/operator/run/outcome.h"
#include "companions/operator/run/progress.h"
#include "companions/operator/run/runlock.h"
#include "companions/operator/run/settings.h"
#include "companions/operator/run/signals.h"
#include "companions/operator/run/supervisor.h"
#include "companions/operator/status/snapshot.h"

namespace run {

/**
 * The steps of a supervised run: check the image, take the lock, clean up after a killed run, run
 * the tool, check the mailbox, verify. The mailbox is checked because the tool's exit value 0
 * doesn't exclude an unread answer. Any step can end the run and set the outcome.
 *
 * The lock and its marker are kept until close(), so that the report is written before the next run
 * can start.
 */
class SupervisedRun {
  public:
    /** `marker` is for the lock file. Everything else is borrowed. */
    SupervisedRun(const RunSettings& settings, Signals& signals, Console& console,
                  Progress& progress, Marker marker);

    /** Runs the steps; to be called once. */
    Outcome perform();
    /** Releases the lock, and clears the marker if the mailbox is in order. */
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
    bool checkForUnreadAnswer();
    bool verify();

    bool end(toollog::e_Cause cause, const std::string& happened = "");
    bool mark();
    Command toolOn(const std::string& image) const;
    /** Runs the tool on an image that can't exist: it sends nothing and resets the direction. */
    Course makeCleanPass();
    void cleanUpAfterKill();
    void takeCauseOf(const Course& course);
    bool endWithoutStart(int error);
    /** Polls until `wanted` holds, a signal arrives or `limit` ends. Returns the last snapshot. */
    status::Snapshot await(std::chrono::milliseconds limit,
                           const std::function<bool(const status::Snapshot&)>& wanted,
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

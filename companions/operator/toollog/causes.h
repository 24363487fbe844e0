#pragma once

namespace toollog {

/** In place of an exit value: 128 plus the number of a signal, or what the tool ended with. */
constexpr int BY_SIGNAL = -1;
constexpr int TOOLS_OWN = -2;

// clang-format off
/**
 * All results of a run: X(name, words, usual exit value, exit value by cause, what to do next).
 * Help, report, closing line and tests use this table, and scripts/manuals compares the manual page
 * with it. The words are a contract. Each failure has its own value by cause, below 64 or from
 * sysexits.h.
 *
 * The first causes follow from the tool's log and end; the others are tolmira_run's own.
 */
#define RUN_CAUSES(X)                                                                             \
    X(Upgraded, "upgraded", 0, 0, "nothing more to do; tolmira_status shows the revision") \
    X(ControllerMissing, "controller missing", 1, 3,                                      \
      "check the controller's power and that it runs, then start again")                          \
    X(AlreadyCurrent, "already current", 255, 4,                                            \
      "nothing more to do; to send the image anyway, use -f")                                      \
    X(ImageNotOpened, "image not opened", 255, 66, "check the image's path and permissions")     \
    X(NotTfi, "not a TFI image", 255, 65,                                                   \
      "get the right file; tfi_inspect shows what is wrong with this one")                        \
    X(TooManyPages, "too many pages", 255, 10, "get the right file; this one is too large") \
    X(PageFailed, "page failed", 255, 11,                                                   \
      "the controller has no complete image: restart it and start again with -f")                  \
    X(ImageNotSent, "image can't be cut or read", 255, 12,                                  \
      "the controller has no complete image: check the file with tfi_inspect and send the right "  \
      "one with -f")                                                                              \
    X(WrongUsage, "wrong usage", 2, 2, "correct the command line; tolmira_run --help shows it")   \
    X(Assertion, "assertion", BY_SIGNAL, 70,                                                      \
      "read the last lines of the log, remove the cause, then start again")                       \
    X(Signal, "killed by a signal", BY_SIGNAL, 13,                                                \
      "find out what killed the tool, then start again with -f")                                   \
    X(Unknown, "unknown", TOOLS_OWN, 14, "read the log")                                          \
    X(StoppedBefore, "stopped before the pages", BY_SIGNAL, 20, "nothing was sent; start again")  \
    X(BrokenOff, "broken off", BY_SIGNAL, 21,                                                     \
      "the controller has no complete image: keep its power on and start again with -f")           \
    X(StoppedAfter, "stopped after the pages", BY_SIGNAL, 22,                                     \
      "all pages were sent; tolmira_status shows whether the controller has the new revision")    \
    X(AnswerUnread, "answer left unread", 23, 23,                                                 \
      "the last page's result is unknown: restart the controller and start again with -f")        \
    X(DirectionUp, "receive direction stays up", 24, 24,                                          \
      "nothing was sent; stop other users of the mailbox, restart the controller, then start "    \
      "again")                                                                                    \
    X(AbsentAfter, "absent", 25, 25,                                                              \
      "the image was sent, but the controller is not back: check that it starts")                 \
    X(OtherRevision, "other revision", 26, 26,                                                    \
      "the image was sent, but the controller has another revision: check that it is the right "    \
      "image")                                                                                    \
    X(WrongDigest, "wrong digest", 27, 27,                                                        \
      "nothing was sent; get the image and its digest again from their source")                   \
    X(ImageRefused, "image refused", 28, 28,                                                      \
      "nothing was sent; check the image's path, permissions and size")                           \
    X(MailboxUnreadable, "mailbox unreadable", 74, 74,                                            \
      "nothing was sent; check /dev/shm/resource0 and its permissions")                                \
    X(ImageChecked, "image checked", 0, 0, "nothing was sent; start without --check to send it")  \
    X(CannotReport, "cannot write the report", 73, 73,                                            \
      "nothing was sent; choose another file with --report, or --report - for standard output")   \
    X(CannotLock, "cannot lock", 73, 72,                                                          \
      "nothing was sent; check the lock file's owner and permissions, and the space in /dev/shm")       \
    X(Busy, "another run", 75, 75, "wait until the other run has ended, then start again")         \
    X(CannotStart, "cannot start", 127, 71, "nothing was sent; give the tool's path with --tool")

// clang-format on
enum e_Cause {
#define RUN_CAUSE_ENUMERATOR(name, words, usual, byCause, next) e_Cause_##name,
    RUN_CAUSES(RUN_CAUSE_ENUMERATOR)
#undef RUN_CAUSE_ENUMERATOR
};

/** A row of the table. */
struct CauseRow {
    const char* words;
    int usualExit;
    int exitByCause;
    const char* nextStep;
};

constexpr CauseRow CAUSE_ROWS[] = {
#define RUN_CAUSE_ROW(name, words, usual, byCause, next) {words, usual, byCause, next},
    RUN_CAUSES(RUN_CAUSE_ROW)
#undef RUN_CAUSE_ROW
};

}  // namespace toollog

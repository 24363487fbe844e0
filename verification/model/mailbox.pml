/*
 * The mailbox between host and controller: every order in which the accesses of the two sides can
 * interleave.
 *
 * Each access of the controller and each read of the host is one step. A write of the host is two, as
 * the register field makes it: it loads the word, then stores it with the byte replaced. A store of the
 * controller into the word between the two is lost.
 *
 * Messages are short: one byte to begin and one to end, two bytes a page, two bytes an answer. An answer
 * doesn't name its page. A poll that finds nothing changes nothing, so the host waits instead of polling.
 *
 * scripts/model checks the model. Definitions select what a run may do:
 *
 *   EARLY       a wait of the host may time out at any time; otherwise only if the controller is mute
 *               or gone, or if one of the two has restarted
 *   MUTE        the controller may fall silent, until a reset
 *   REARMS=0/1  whether the controller turns both directions on after a reset; undefined: either
 *   JUDGES      the controller may refuse any page
 *   RESTARTS    the controller may restart, once: it clears the mailbox and announces itself
 *   KILLED      the host may be killed, once, between any two steps, and run again
 *   UNASKED     the controller may send one answer without a page
 *   DIRTY       the controller stores arbitrary bits above the byte, in one of the words
 *   PAUSES      the second run starts after the controller has given up an unfinished message
 *   PUNCTUAL    in a second run, only waits for an answer may time out
 *
 * what the host's supervisor does:
 *
 *   CLEANS      before a second run, if the first one left the receive direction on or an answer
 *               unread, the host opens and closes the direction once; if it stays on, the run is
 *               refused
 *   CHECKS      a success that leaves an answer unread counts as a failure
 *
 * how the controller differs from the ordinary one:
 *
 *   CLEARS      the start of an upgrade drops answers too
 *   FORWARD     it reads the words in the order in which the host writes them, not in the reverse
 *   HASTY       it mistakes a receive direction that was turned off for a reset
 *   KEEPS       it keeps answers over a reset
 *   LEAVES      it leaves a byte on offer over a reset
 *
 * and how the messages differ:
 *
 *   LEADS       each message of the host has a lead byte, as the real header has two. A byte that a
 *               killed run left on offer is then not a message
 */

#ifndef PAGES
#define PAGES 2
#endif
#define ATTEMPTS 5

/* The bytes of the messages. */
#define BEGIN 1
#define END 2
#define PAGE 10 /* and the page's number */
#define DATA 20
#define INFO 6
#define HEAD 7
#define LEAD 3
#define GOOD 4
#define BAD 5

#define RX_DATA 5
#define RX_FLAG 6
#define RX_STATE 7
#define TX_DATA 8
#define TX_FLAG 9
#define TX_STATE 10
#define RX_OFFERED 243
#define RX_TAKEN 63
#define TX_OFFERED 36
#define TX_TAKEN 35
#define ABSENT 0
#define REQUESTED 1
#define READY 2

/* A word: the byte, and one bit for bits 9 to 31. */
short word[6];
#define WORD(address) word[(address) - RX_DATA]
#define BYTE(address) (WORD(address) & 255)
#define UPPER 512

#ifdef EARLY
#define TIME_UP true
#else
#define TIME_UP (mute || !up || restarted || again)
#endif
#ifdef PUNCTUAL
#define TAKING_TIME_UP (mute || !up || restarted)
#else
#define TAKING_TIME_UP TIME_UP
#endif

bool mute = false;        /* the controller does nothing until a reset */
bool up = true;           /* the controller has not stopped for good */
bool restarted = false;   /* the controller has lost what was in progress */
bool again = false;       /* the first run of the tool was killed, this is the second */
bool ended = false;       /* the tool has ended; `success` is its result */
bool success = false;
bool upgraded = false;    /* the controller has taken the end message of an upgrade */
bool held[PAGES] = false; /* the pages that the controller has accepted */
#define WHOLE (held[0] && held[PAGES - 1])

/* For the checks only: the state of the data words, and the write in progress. */
#define NOTHING 255
#define NEW 1  /* a byte not yet taken */
#define OLD 2  /* a byte already taken */
#define NONE 0 /* none, or a byte that was dropped */
byte inTxData = NONE;
byte inRxData = NONE;
byte writing = 0;    /* the host's write between its load and its store; 0 if none */
byte place = 0;      /* its address */
#ifdef RECORDS /* events in the host, for runs whose trace is wanted */
bool metBad, metNoTaker, metNoGiver, metLateMatch, metDown;
#define MET(what) what = true
#else
#define MET(what) skip
#endif
bool killed = false;
bool quiet = false; /* the controller has given up the first run's message */

/* The host's writes. Those of the reset are RESET and the address. */
#define ENABLE 1
#define TAKE_OVER 2
#define OFFER_DATA 3
#define OFFER 4
#define TAKE 5
#define LEAVE 6
#define RESET 10

/*
 * The property that is checked. A search for a witness (SEEKS) leaves out the other checks, so that the
 * first error is the witness. With OVERWRITTEN, it is a store that this write of the host overwrites.
 */
#define HONEST (!success || WHOLE)
#define ENDED (!success || upgraded)
#define DELIVERED (success && upgraded)
#ifdef SEEKS
#define CHECK(condition) skip
#else
#define CHECK(condition) assert(condition)
#endif
#ifndef OVERWRITTEN
#define OVERWRITTEN 255
#endif
#ifdef WANTED
#define HOLDS !(WANTED && ENDING)
#define FAILURE !success
#ifndef ENDING
#define ENDING success
#endif
#endif
#ifndef HOLDS /* when the tool ends */
#define HOLDS HONEST
#endif

/* The host's writes that may overwrite a store of the controller. */
#if defined(RESTARTS) || defined(KILLED) || defined(HASTY)
#define MAY_OVERWRITE(write) true
#elif defined(EARLY)
#define MAY_OVERWRITE(write)                                          \
  (write == LEAVE || write == RESET + RX_DATA || write == RESET + RX_FLAG || \
   write == RESET + RX_STATE || write == RESET + TX_FLAG)
#elif defined(MUTE)
#define MAY_OVERWRITE(write) (write == LEAVE || write == RESET + RX_STATE)
#else
#define MAY_OVERWRITE(write) false
#endif

/* Whether the controller may take the 0 of a reset for a byte. */
#if (defined(EARLY) || defined(RESTARTS) || defined(KILLED)) && !defined(NEVER_NONE)
#define MAY_TAKE_NONE true
#else
#define MAY_TAKE_NONE false
#endif

/* ------------------------------------------------------------------------------------- host */

inline hostRead(address) {
  atomic {
    seen = BYTE(address);
    printf("R %d %d\n", address, seen)
  }
}

inline hostWrite(address, value, what) {
  atomic { /* the load */
    loaded = WORD(address) & UPPER;
    writing = what;
    place = address;
    printf("load %d\n", address)
  }
  atomic { /* the store */
    WORD(address) = loaded | (value);
    loaded = 0;
    writing = 0;
    place = 0;
    printf("W %d %d\n", address, value);
    if
    :: address == TX_DATA -> inTxData = (what == OFFER_DATA -> NEW : NONE)
    :: else
    fi
  }
}

inline resetMailbox() {
  at = RX_DATA;
  do
  :: at <= TX_STATE -> hostWrite(at, 0, RESET + at); at++
  :: else -> at = 0; break
  od
}

/* A match on the read after the timeout is too late. */
inline waitFor(address, value, timeUp) {
  if
  :: atomic { BYTE(address) == value -> ok = true; printf("R %d %d\n", address, value) }
  :: atomic {
       BYTE(address) != value && timeUp;
       ok = false;
       printf("R %d %d\ntime\n", address, BYTE(address))
     }
     hostRead(address);
     if
     :: seen == value -> MET(metLateMatch)
     :: else
     fi
  fi
}

inline sendByte(value) {
  printf("send %d\n", value);
  hostRead(TX_STATE);
  if
  :: seen == REQUESTED -> hostWrite(TX_STATE, READY, TAKE_OVER)
  :: else
  fi;
  hostRead(TX_STATE);
  if
  :: seen != READY -> ok = false
  :: else ->
     hostWrite(TX_DATA, value, OFFER_DATA);
     hostWrite(TX_FLAG, TX_OFFERED, OFFER);
     waitFor(TX_FLAG, TX_TAKEN, TAKING_TIME_UP);
     if
     :: ok -> CHECK(inTxData == OLD) /* otherwise the byte is lost */
     :: else -> MET(metNoTaker); resetMailbox()
     fi
  fi;
  printf("is %d\n", ok)
}

/* A message of one byte. */
#ifdef LEADS
inline sendMessage(symbol) {
  sendByte(HEAD);
  if
  :: ok -> sendByte(symbol)
  :: else
  fi
}
#else
#define sendMessage(symbol) sendByte(symbol)
#endif

inline readByte() {
  printf("read\n");
  hostRead(RX_STATE);
  if
  :: seen != READY -> MET(metDown); ok = false
  :: else ->
     waitFor(RX_FLAG, RX_OFFERED, TIME_UP);
     if
     :: ok ->
        atomic {
          hostRead(RX_DATA);
          got = seen;
          CHECK(inRxData == NEW); /* otherwise it is doubled, or belongs to a dropped answer */
          inRxData = OLD
        }
        hostWrite(RX_FLAG, RX_TAKEN, TAKE)
     :: else -> MET(metNoGiver); resetMailbox()
     fi
  fi;
  printf("is %d\n", ok)
}

inline enable() {
  printf("enable\n");
  hostRead(RX_STATE);
  if
  :: seen == ABSENT -> hostWrite(RX_STATE, REQUESTED, ENABLE)
  :: else
  fi
}

/* One attempt. Sets `ok` if the answer is good. */
inline sendPage() {
  sendMessage(PAGE + page);
  if
  :: ok -> sendByte(DATA + page)
  :: else
  fi;
  if
  :: ok -> readByte()
  :: else
  fi;
  if
  :: ok && got == LEAD -> readByte(); ok = ok && got == GOOD
  :: else -> ok = false
  fi;
  got = 0
}

inline leave() {
  printf("close\n");
  hostWrite(RX_STATE, ABSENT, LEAVE)
}

/* If the first run left something, opens and closes the receive direction. */
inline clean() {
  hostRead(RX_STATE);
  ok = seen == ABSENT;
  if
  :: ok -> hostRead(RX_FLAG); ok = seen != RX_OFFERED
  :: else
  fi;
  if
  :: !ok -> enable(); leave(); hostRead(RX_STATE); ok = seen == ABSENT
  :: else
  fi
}

inline upgrade() {
  enable();
  sendMessage(BEGIN);
  do
  :: page < PAGES ->
     attempt = 0;
     ok = false;
     do
     :: !ok && attempt < ATTEMPTS -> sendPage(); attempt++
     :: else -> break
     od;
     attempt = 0;
     if
     :: ok -> page++
     :: else -> break
     fi
  :: else -> break
  od;
  success = page == PAGES;
  if
  :: success ->
#ifdef CHECKS
     sendMessage(INFO); /* a waiting answer is offered before the next byte is taken */
#endif
     sendMessage(END)
  :: else
  fi;
  leave();
#ifdef CHECKS
  hostRead(RX_FLAG);
  success = success && seen != RX_OFFERED
#endif
}

active proctype Host() {
  short loaded = 0;
  byte seen = 0, got = 0, page = 0, attempt = 0, at = 0;
  bool ok = false;
start:
  {
#ifdef CLEANS
    if
    :: again ->
       clean();
       if
       :: ok -> ok = false
       :: else -> goto over
       fi
    :: else
    fi;
#endif
    if
    :: atomic {
         BYTE(TX_STATE) != ABSENT -> printf("present\nR %d %d\n", TX_STATE, BYTE(TX_STATE))
       }
       upgrade()
    :: BYTE(TX_STATE) == ABSENT && (TIME_UP || !up) /* no controller */
    fi
#ifdef KILLED
  } unless {
    killed && !again;
    d_step {
      again = true;
      loaded = 0; seen = 0; got = 0; page = 0; attempt = 0; at = 0; ok = false;
      writing = 0; place = 0; success = false
    }
#ifdef PAUSES
    quiet;
#endif
    goto start
#endif
  };
over:
  atomic {
    ended = true;
    assert(HOLDS)
  }
}

#ifdef KILLED
active proctype Killer() {
  if
  :: atomic { !ended -> killed = true }
  :: ended
  fi
}
#endif

/* ------------------------------------------------------------------------------- controller */

inline poll(address, into) {
  atomic { into = BYTE(address); printf("        controller R %d %d\n", address, into) }
}

inline put(address, value) {
  atomic {
    if
    :: place == address ->
       assert(writing != OVERWRITTEN);
       CHECK(MAY_OVERWRITE(writing))
    :: else
    fi;
    WORD(address) = value;
#ifdef DIRTY
    if
    :: address == dirty -> WORD(address) = value | UPPER
    :: skip
    fi;
#endif
    printf("        controller W %d %d\n", address, WORD(address))
  }
}

inline dropAnswers() {
#ifndef KEEPS
  do
  :: nempty(answers) -> answers ? _
  :: empty(answers) -> break
  od;
  half = false;
  inRxData = NONE;
#endif
  fresh = true;
#ifndef LEAVES
  poll(RX_FLAG, x);
  if
  :: x == RX_OFFERED -> put(RX_FLAG, RX_TAKEN)
  :: else
  fi;
  x = 0
#endif
}

inline breakOff() { begun = NOTHING }

inline afterReset() {
  mute = false;
  breakOff();
  dropAnswers();
  receiving = false;
  if
#if !defined(REARMS) || REARMS
  :: true ->
     put(RX_STATE, READY);
     receiving = true;
     put(TX_STATE, REQUESTED)
#endif
#if !defined(REARMS) || !REARMS
  :: true -> up = false
#endif
  fi
}

inline welcome() {
  breakOff();
  open = false;
  dropAnswers();
  receiving = true;
  put(RX_STATE, READY)
}

inline judge(number, symbol) {
  if
  :: symbol == DATA + number -> held[number] = true; answers ! GOOD
#ifdef JUDGES
  :: symbol == DATA + number -> held[number] = false; MET(metBad); answers ! BAD
#endif
  :: symbol != DATA + number -> held[number] = false; answers ! BAD
  fi
}

/* The value of `begun` when a message may start. */
#ifdef LEADS
#define HEADED 254
#define START HEADED
#else
#define START NOTHING
#endif

/* A message is a single byte, or a page's number and its data. */
inline understand(symbol) {
  if
  :: begun < PAGES -> judge(begun, symbol); begun = NOTHING
#ifdef LEADS
  :: begun >= PAGES && symbol == HEAD -> begun = HEADED
#endif
  :: begun == START && symbol >= PAGE && symbol < PAGE + PAGES -> begun = symbol - PAGE
  :: begun == START && symbol == BEGIN ->
     begun = NOTHING;
     open = true;
#ifdef CLEARS
     dropAnswers();
#endif
     page = 0;
     do
     :: page < PAGES -> held[page] = false; page++
     :: else -> break
     od;
     page = 0
  :: begun == START && symbol == END -> begun = NOTHING; upgraded = open
  :: else -> begun = NOTHING
  fi
}

inline takeByte() {
  atomic {
    poll(TX_DATA, x);
    CHECK(inTxData != OLD); /* otherwise it is doubled */
    CHECK(inTxData != NONE || MAY_TAKE_NONE);
    inTxData = (inTxData == NEW -> OLD : NONE);
    understand(x);
    x = 0
  }
  put(TX_FLAG, TX_TAKEN)
}

inline offerByte() {
  poll(RX_FLAG, x);
  if
  :: fresh || x == RX_TAKEN ->
     x = 0;
     if
     :: half -> answers ? x; half = false
     :: else -> x = LEAD; half = true
     fi;
     atomic {
       put(RX_DATA, x);
       x = 0;
       CHECK(inRxData != NEW); /* otherwise a byte that the host has not taken is lost */
       inRxData = NEW
     }
     atomic { put(RX_FLAG, RX_OFFERED); fresh = false }
  :: else -> x = 0
  fi
}

inline restart() {
  breakOff();
  dropAnswers();
  receiving = false;
  open = false;
  x = TX_STATE;
  do
  :: x >= RX_DATA -> put(x, 0); x--
  :: else -> x = 0; break
  od;
  put(TX_STATE, REQUESTED)
}

active proctype Controller() {
  chan answers = [ATTEMPTS + 1] of { byte };
  byte flag = 0, state = 0, x = 0, page = 0;
  byte begun = NOTHING;   /* or the page whose data comes next, or HEADED */
  bool half = false;      /* the answer's first byte has been offered */
  bool fresh = true;      /* nothing was offered since the direction was turned on */
  bool receiving = false; /* the direction is on */
  bool open = false;      /* an upgrade has begun */
#ifdef UNASKED
  bool asked = true;
#endif
#ifdef DIRTY
  byte dirty;
  select (dirty : RX_DATA .. TX_STATE);
#endif
  put(TX_STATE, REQUESTED);
  do
  :: !ended && up ->
#ifndef FORWARD
     poll(TX_FLAG, flag);
     poll(RX_STATE, state);
     poll(TX_STATE, x);
#else
     poll(TX_STATE, x);
     poll(RX_STATE, state);
     poll(TX_FLAG, flag);
#endif
     if
#ifdef HASTY
     :: state == ABSENT && receiving -> x = 0; afterReset()
     :: x == ABSENT && !receiving -> x = 0; afterReset()
     :: x == ABSENT && receiving && state != ABSENT -> x = 0
     :: x != ABSENT && !(state == ABSENT && receiving) ->
#else
     :: x == ABSENT -> x = 0; afterReset()
     :: else ->
#endif
        x = 0;
        if
        :: state == REQUESTED -> welcome()
        :: state == ABSENT -> receiving = false
        :: else
        fi;
        if
        :: flag == TX_OFFERED && !mute -> takeByte()
        :: else
        fi;
        if
        :: (half || len(answers) > 0) && receiving && !mute -> offerByte()
        :: else
        fi
     fi;
     flag = 0;
     state = 0
#ifdef PAUSES
  :: again && !quiet && up && BYTE(TX_FLAG) != TX_OFFERED -> breakOff(); quiet = true
#endif
#ifdef MUTE
  :: !ended && up && !mute -> mute = true
#endif
#ifdef RESTARTS
  :: !ended && up && !restarted -> restarted = true; restart()
#endif
#ifdef UNASKED
  :: !ended && up && asked && nfull(answers) -> asked = false; answers ! GOOD
#endif
  :: ended || !up -> break
  od
}

#ifdef ENDS
ltl ends { <> ended }
#endif

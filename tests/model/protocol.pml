/* The protocol between client and workbench, each step of which another process can see as a step of its own: see
 * README.md for what is left out. A fault is built in by its name: -DFAULT=F_IDLE_FIRST. */

#ifndef COMMANDS
#define COMMANDS 4
#endif
#ifndef LOSSES
/* How often a workbench may be lost: by its death, or because the client gives up a command. */
#define LOSSES 1
#endif
#ifndef FAULT
#define FAULT 0
#endif

#define F_IDLE_FIRST 1        /* the client answers the idle message before it takes the response */
#define F_RESET_BEHIND 2      /* the client resets the responses after it has set the event */
#define F_LATE_RESET 3        /* the workbench resets the command's event behind the call */
#define F_IDLE_POSTED 4       /* the workbench does not wait for the answer to the idle message */
#define F_FIRST_IS_FINAL 5    /* the client takes the first response for the final one */
#define F_TEXT_LATE 6         /* the client sets the event before it writes the text */
#define F_OLD_EVENTS 7        /* a new workbench starts with the events that the last one left */
#define F_ENDED_LATE 8        /* the client asks whether the workbench has ended after it has taken what there is */
#define F_NEVER_RESET 9       /* the workbench does not reset the command's event */
#define F_GOES_ON 10          /* the client goes on with a workbench whose response it has given up */
#define F_NO_TRACE 11         /* the attached client does not read the trace */
#define F_STOP_ANSWERED 12    /* the client waits for a response to stop */
#define F_NO_JOB 13           /* a workbench outlives its client */
#define F_ANY_WAKES 14        /* the client takes an idle message for the end of the command */

/* Slots of events, by role. Two kinds of commands: one passes the breakpoint step, the other does not. */
#define STOP 0
#define LOAD 1
#define INVOKE 3
#define SUCCESS 8
#define FAILED 9
#define EVENTS 11
bool set[EVENTS];
/* Ghosts: whose response it is, by the number of the command. */
byte setFor[EVENTS];

/* The share: the command text, as the command's number. */
byte text;

/* The window's queue: ready is posted, idle and exiting are sent, and answered[workbench] is the answer. */
mtype = { READY, IDLE, EXITING };
#define WORKBENCHES (LOSSES + 1)
chan window = [4] of { mtype, byte };
bool answered[WORKBENCHES];

/* Processes. A workbench is known by its number; its handle says that it has ended. */
bool isAlive[WORKBENCHES];
bool isKilled[WORKBENCHES];
byte current = 0;
bool clientIsDead = false;
byte losses = 0;

/* The workbench's trace, for who reads it: which command it has answered, and how. */
byte tracedEnd = 0;
bool tracedWell = false;

/* Something was printed that the client has not taken. */
bool hasOutput = false;

/* Commands, by number. What is to hold: each is carried out at most once, and what is shown of it is what became of it. */
#define NONE 0
#define WELL 1
#define BADLY 2
byte kind[COMMANDS + 1];
byte truth[COMMANDS + 1];
bool isFinalSet[COMMANDS + 1];
byte posted = 0;

/* Whose turn it is to post: a client that is attached has one. */
bool attachedTurn = false;
bool attachedIsDone = false;
bool allDone = false;

#define Respond(slot, isLast) d_step { set[slot] = true; setFor[slot] = command; isFinalSet[command] = isLast }

proctype Workbench(byte me)
{
    byte slot;
    byte command;
    bool isWell;

    {
        window ! READY, me;
wait:
        /* The wait wakes by the lowest slot that is set. */
        atomic {
            (set[STOP] || set[LOAD] || set[INVOKE]);
            if
            :: set[STOP] -> slot = STOP
            :: !set[STOP] && set[LOAD] -> slot = LOAD
            :: !set[STOP] && !set[LOAD] -> slot = INVOKE
            fi
        }
#if FAULT != F_LATE_RESET && FAULT != F_NEVER_RESET
        set[slot] = false;
#endif
        if
        :: slot == STOP -> goto exiting
        :: slot != STOP -> command = text
        fi;
        /* The managed call, which may print. */
        atomic {
            assert(truth[command] == NONE);
            if
            :: isWell = true; truth[command] = WELL
            :: isWell = false; truth[command] = BADLY
            fi;
            if
            :: hasOutput = true
            :: true
            fi
        }
        if
        :: slot == INVOKE ->
            Respond(SUCCESS, false);
            answered[me] = false;
            if
            :: !clientIsDead -> window ! IDLE, me
            :: clientIsDead
            fi;
#if FAULT != F_IDLE_POSTED
            (answered[me] || clientIsDead)
#endif
        :: slot != INVOKE
        fi;
        /* The line before the response, and the one behind it. */
        tracedWell = isWell;
        if
        :: isWell -> Respond(SUCCESS, true)
        :: !isWell -> Respond(FAILED, true)
        fi;
#if FAULT == F_LATE_RESET
        set[slot] = false;
#endif
        tracedEnd = command;
        goto wait;
exiting:
        answered[me] = false;
        if
        :: !clientIsDead -> window ! EXITING, me
        :: clientIsDead
        fi;
        (answered[me] || clientIsDead)
    } unless { isKilled[me] };
    isAlive[me] = false
}

/* A workbench may die at each of its steps. */
proctype Death()
{
    if
    :: atomic { losses < LOSSES && isAlive[current] && !isKilled[current] -> losses++; isKilled[current] = true }
    :: allDone
    fi
}

#ifdef CLIENT_DIES
/* So may the client; a workbench that it started is tied to it. */
proctype ClientDeath()
{
    if
    :: atomic {
        !allDone -> clientIsDead = true;
#if FAULT != F_NO_JOB
        isKilled[current] = true
#endif
       }
    :: allDone
    fi
}
#endif

#define HasResponse (set[SUCCESS] || set[FAILED])

/* Takes one response, that of the lowest slot, and resets it; another may be set between the two. */
inline TakeOne()
{
    if
    :: set[SUCCESS] ->
        assert(setFor[SUCCESS] == posted);
        set[SUCCESS] = false;
        if
#if FAULT != F_FIRST_IS_FINAL
        :: kind[posted] == INVOKE && !isFirstTaken -> isFirstTaken = true
        :: kind[posted] != INVOKE || isFirstTaken -> isDone = true; isShownWell = true
#else
        :: true -> isDone = true; isShownWell = true
#endif
        fi
    :: !set[SUCCESS] && set[FAILED] ->
        assert(setFor[FAILED] == posted);
        set[FAILED] = false;
        isDone = true;
        isShownWell = false
    :: !HasResponse
    fi
}

inline TakeResponses()
{
    do
    :: !isDone && HasResponse -> TakeOne()
    :: isDone || !HasResponse -> break
    od
}

/* The window procedure takes what came before the message, and then answers. */
inline Pump()
{
    do
    :: window ? message, sender ->
#if FAULT == F_IDLE_FIRST
        answered[sender] = true;
#endif
        TakeResponses();
#if FAULT == F_ANY_WAKES
        if
        :: message == IDLE && !isDone -> isDone = true; isShownWell = true
        :: message != IDLE || isDone
        fi;
#endif
        answered[sender] = true
    :: empty(window) -> break
    od
}

inline ResetResponses()
{
    set[SUCCESS] = false;
    set[FAILED] = false
}

inline Post()
{
    atomic {
        posted++;
        isFirstTaken = false;
        isDone = false;
        if
        :: kind[posted] = LOAD
        :: kind[posted] = INVOKE
        fi
    };
#if FAULT != F_TEXT_LATE
    text = posted;
#endif
#if FAULT != F_RESET_BEHIND
    ResetResponses();
#endif
    set[kind[posted]] = true;
#if FAULT == F_RESET_BEHIND
    ResetResponses();
#endif
#if FAULT == F_TEXT_LATE
    text = posted;
#endif
    skip
}

inline CheckOutcome()
{
    assert(isDone || !isLost || !isFinalSet[posted]);
    assert(!isDone || truth[posted] == (isShownWell -> WELL : BADLY))
}

inline StartWorkbench()
{
    atomic {
        isAlive[current] = true;
#if FAULT != F_OLD_EVENTS
        set[STOP] = false;
        set[LOAD] = false;
        set[INVOKE] = false;
        set[SUCCESS] = false;
        set[FAILED] = false;
#endif
        run Workbench(current)
    };
    /* Ready, or dead before. */
    do
    :: window ? message, sender -> break
    :: !isAlive[current] && empty(window) -> break
    od
}

active proctype Client()
{
    mtype message;
    byte sender;
    bool isFirstTaken;
    bool isDone = true;
    bool isShownWell;
    bool isLost;
    bool isGivenUp;
    bool hasEnded;

    {
        run Death();
#ifdef CLIENT_DIES
        run ClientDeath();
#endif
        StartWorkbench();
next:
        if
        :: posted < COMMANDS && !attachedIsDone && posted > 0 -> attachedTurn = true
        :: true
        fi;
        /* While somebody else has the turn, messages are answered all the same. */
        do
        :: nempty(window) -> Pump()
        :: !attachedTurn && empty(window) -> break
        od;
        if
        :: !isAlive[current] -> goto restart
        :: isAlive[current] && posted == COMMANDS -> goto stop
        :: isAlive[current] && posted < COMMANDS -> Post()
        fi;
        isLost = false;
        isGivenUp = false;
        do
        :: HasResponse || nempty(window) || hasOutput || !isAlive[current] ->
#if FAULT != F_ENDED_LATE
            hasEnded = !isAlive[current];
#endif
            hasOutput = false;
            TakeResponses();
            Pump();
#if FAULT == F_ENDED_LATE
            hasEnded = !isAlive[current];
#endif
            if
            :: isDone -> break
            :: !isDone && hasEnded -> isLost = true; break
            :: !isDone && !hasEnded
            fi
        /* The time is over, or the user wants an end. */
        :: atomic { losses < LOSSES -> losses++ }; isGivenUp = true; break
        od;
        CheckOutcome();
        isDone = true;
        if
        :: isGivenUp ->
#if FAULT == F_GOES_ON
            goto next
#else
            /* Ends it at once, or lets the call end in order. */
            if
            :: isKilled[current] = true; !isAlive[current]; goto restart
            :: goto stop
            fi
#endif
        :: isLost -> goto restart
        :: !isGivenUp && !isLost -> goto next
        fi;
restart:
        /* Another workbench, of the same client's id. What the last one sent is not for it. */
        do
        :: window ? message, sender
        :: empty(window) -> break
        od;
        if
        :: current + 1 == WORKBENCHES || posted == COMMANDS -> goto over
        :: current + 1 < WORKBENCHES && posted < COMMANDS -> current++; StartWorkbench(); goto next
        fi;
stop:
        ResetResponses();
        set[STOP] = true;
#if FAULT == F_STOP_ANSWERED
        HasResponse;
#endif
        do
        :: nempty(window) -> Pump()
        :: !isAlive[current] -> break
        od;
over:
        skip
    } unless { clientIsDead };
    atomic { allDone = true; attachedTurn = false }
}

/* Another client, attached to the workbench: its turn is one command. The idle message goes to the first client's
 * window, so the second response may be set before the first is reset; the trace tells then. */
active proctype Attached()
{
    bool isFirstTaken;
    bool isDone = true;
    bool isShownWell;
    bool isLost = false;

    if
    :: allDone -> goto over
    :: attachedTurn -> Post()
    fi;
    do
    :: !isDone && HasResponse -> TakeOne()
#if FAULT != F_NO_TRACE
    :: !isDone && !HasResponse && tracedEnd == posted ->
        /* All responses have been set, and this is what there was. */
        if
        :: HasResponse
        :: !HasResponse -> isDone = true; isShownWell = tracedWell
        fi
#endif
    :: !isDone && !HasResponse && !isAlive[current] -> isLost = true; break
    :: isDone -> break
    od;
    assert(!isDone || truth[posted] == (isShownWell -> WELL : BADLY));
over:
    atomic { attachedIsDone = true; attachedTurn = false }
}

/* Whatever happens, it ends: no process waits for ever, and none outlives the client. */
ltl Ends { <> (allDone && attachedIsDone && !isAlive[current]) }

/* SPDX-License-Identifier: Apache-2.0 */
/*
 * One slot of the trace ring, as write_slot() and copy_slot() of platform/trace_kbuf/ring.h treat it: two writers, who
 * come to it in different turns of the ring, and a reader. Either writer may be killed anywhere, or stopped so long
 * that the other one overtakes it. Slots have nothing in common but the count that hands them out.
 *
 * Memory is weak, as PowerPC's. The stores of a writer arrive in any order, but those before a fence before those after
 * it, and those to one word in theirs. The loads of a reader are made in any order, with the same exceptions. On a
 * machine that a test can run on, none of this is ever seen.
 *
 * What holds, always: a record that the reader shows was written whole; one that was finished, and that nobody began to
 * overwrite, is shown. And while no writer overtakes another, the commit word alone is to be trusted.
 *
 * run.sh leaves out each fence in turn (-DNO_...), and the checksum. Each must break one of these promises.
 *
 * A record of writer w has w in each of its words. Its checksum is w, too, and fits nothing but these words: how well
 * the real one does, tests/platform/trace_kbuf/mixture_test.cpp tries.
 */
#define WRITERS 2
#define MAKING(w) (w + 10) /* what the commit word says of a record in the making */

byte commit, checksum, first, second; /* the slot; 0 is never used */

/* For the promises only. */
byte begun;                   /* how many records were */
byte working;                 /* writers inside a record that may go on */
byte latest;                  /* whose record was finished last */
bool overtaken;               /* two worked on the slot at the same time */

/* The stores of a writer that have not arrived yet. */
#define S_MAKING 1
#define S_FIRST 2
#define S_SECOND 4
#define S_CHECKSUM 8
#define S_COMMIT 16

#ifdef NO_FENCE_AFTER_MAKING
#define MAY_FILL true
#else
#define MAY_FILL !(left & S_MAKING)
#endif
#ifdef NO_FENCE_BEFORE_COMMIT
#define MAY_COMMIT !(left & S_MAKING) /* the same word */
#else
#define MAY_COMMIT !(left & (S_MAKING | S_FIRST | S_SECOND | S_CHECKSUM))
#endif

proctype writer(byte w) {
    byte left = S_MAKING | S_FIRST | S_SECOND | S_CHECKSUM | S_COMMIT;
    atomic {
        begun++;
        overtaken = overtaken || working > 0;
        working++
    }
    do
    :: left & S_MAKING -> atomic { commit = MAKING(w); left = left & ~S_MAKING }
    :: (left & S_FIRST) && MAY_FILL -> atomic { first = w; left = left & ~S_FIRST }
    :: (left & S_SECOND) && MAY_FILL -> atomic { second = w; left = left & ~S_SECOND }
    :: (left & S_CHECKSUM) && MAY_FILL -> atomic { checksum = w; left = left & ~S_CHECKSUM }
    :: (left & S_COMMIT) && MAY_COMMIT -> atomic { commit = w; left = left & ~S_COMMIT }
    :: left == 0 -> atomic { latest = w; working--; break }
    :: left != 0 -> atomic { latest = 0; working--; break } /* killed */
    od
}

/* The loads of the reader that have not been made yet. */
#define L_BEFORE 1
#define L_FIRST 2
#define L_SECOND 4
#define L_CHECKSUM 8
#define L_AFTER 16

#ifdef NO_FENCE_AFTER_FIRST_LOOK
#define MAY_READ true
#else
#define MAY_READ !(left & L_BEFORE)
#endif
#ifdef NO_FENCE_BEFORE_LAST_LOOK
#define MAY_LOOK_AGAIN !(left & L_BEFORE) /* the same word */
#else
#define MAY_LOOK_AGAIN !(left & (L_BEFORE | L_FIRST | L_SECOND | L_CHECKSUM))
#endif

proctype reader() {
    byte left = L_BEFORE | L_FIRST | L_SECOND | L_CHECKSUM | L_AFTER;
    byte before, one, two, sum, after;
    byte begun_then, expected;
    bool committed, good;
    atomic {
        begun_then = begun;
        expected = (working == 0 && !overtaken -> latest : 0)
    }
    do
    :: left & L_BEFORE -> atomic { before = commit; left = left & ~L_BEFORE }
    :: (left & L_FIRST) && MAY_READ -> atomic { one = first; left = left & ~L_FIRST }
    :: (left & L_SECOND) && MAY_READ -> atomic { two = second; left = left & ~L_SECOND }
    :: (left & L_CHECKSUM) && MAY_READ -> atomic { sum = checksum; left = left & ~L_CHECKSUM }
    :: (left & L_AFTER) && MAY_LOOK_AGAIN -> atomic { after = commit; left = left & ~L_AFTER }
    :: left == 0 -> break
    od;
    atomic {
        committed = before == after && before != 0 && before <= WRITERS;
#ifdef NO_CHECKSUM
        good = committed;
#else
        good = committed && sum == before && one == sum && two == sum;
#endif
        assert(!good || (one == before && two == before));                   /* shown is only what was written whole */
        assert(!committed || overtaken || (one == before && two == before)); /* the commit word is to be trusted */
        assert(expected == 0 || begun != begun_then || (good && before == expected)) /* nothing is missing */
    }
}

init {
    atomic { run writer(1); run writer(2); run reader() }
}

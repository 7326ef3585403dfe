// How the benchmarks measure: what is compared is timed in turns, many rounds of each, and the best
// round of each counts, because others' work on the machine only ever adds to a round.
#ifndef VELNOR_BENCH_MEASURE_H
#define VELNOR_BENCH_MEASURE_H

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <ctime>

namespace velnor::bench {

// So many rounds, or a few of them in a smoke run.
inline int rounds(int full) {
    return std::getenv("VELNOR_BENCH_QUICK") == nullptr ? full : std::max(full / 20, 3);
}

inline double now(clockid_t clock) {
    timespec time = {};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

template <typename Work>
double nanosecondsBy(clockid_t clock, const Work& work) {
    const double start = now(clock);
    work();
    benchmark::ClobberMemory();
    return now(clock) - start;
}

// For work that is short beside a time slice, or spread over threads.
template <typename Work>
double nanoseconds(const Work& work) {
    return nanosecondsBy(CLOCK_MONOTONIC, work);
}

// Of this thread alone: for work that is long enough to be interrupted.
template <typename Work>
double processorNanoseconds(const Work& work) {
    return nanosecondsBy(CLOCK_THREAD_CPUTIME_ID, work);
}

// The shortest of all rounds.
class Best {
public:
    void add(double time) { mTime = std::min(mTime, time); }
    double time() const { return mTime; }

private:
    double mTime = 1e18;
};

// The pair of counters that bench/table.py compares, per piece of work.
inline void report(benchmark::State& state, const Best& ours, const Best& peer, double pieces) {
    state.counters["ours_ns"] = ours.time() / pieces;
    state.counters["peer_ns"] = peer.time() / pieces;
}

} // namespace velnor::bench

#endif

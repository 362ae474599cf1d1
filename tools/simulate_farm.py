#!/usr/bin/env python3
"""Simulates a job of a render farm: how long the nodes take, and what limits them. docs/farm.md shows the results.

    tools/simulate_farm.py --frames 10000 --nodes 100 --seconds 60
"""

import argparse
import heapq
import random
import statistics

# Measured on one machine, see docs/performance.md.
TASK_SECONDS = 0.9  # start of two programs, load of the demo scene
STARTS_A_SECOND = 2.0  # tasks that the scheduler starts


def finish(times, nodes, chunk, starts):
    """The time at which the last task ends. The scheduler starts one task after the other."""
    free = [0.0] * nodes
    next_start = end = 0.0
    for first in range(0, len(times), chunk):
        begin = max(heapq.heappop(free), next_start)
        next_start = begin + 1 / starts
        done = begin + TASK_SECONDS + sum(times[first:first + chunk])
        heapq.heappush(free, done)
        end = max(end, done)
    return end


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--frames", type=int, default=10000)
    parser.add_argument("--nodes", type=int, default=100)
    parser.add_argument("--seconds", type=float, default=60, help="of a frame in the mean")
    parser.add_argument("--spread", type=float, default=0.5, help="of the logarithm of a frame's time")
    parser.add_argument("--starts", type=float, default=STARTS_A_SECOND)
    parser.add_argument("--runs", type=int, default=20)
    options = parser.parse_args()
    print("chunk  tasks  hours  part of the nodes' time that renders")
    for chunk in (1, 2, 5, 10, 20, 50, 100):
        ends, parts = [], []
        for seed in range(options.runs):
            dice = random.Random(seed)
            mean = options.seconds / 2.718281828 ** (options.spread ** 2 / 2)
            times = [mean * 2.718281828 ** dice.gauss(0, options.spread) for _ in range(options.frames)]
            ends.append(finish(times, options.nodes, chunk, options.starts))
            parts.append(sum(times) / (ends[-1] * options.nodes))
        print(f"{chunk:5}  {-(-options.frames // chunk):5}  {statistics.mean(ends) / 3600:5.2f}  "
              f"{100 * statistics.mean(parts):.1f} %")


if __name__ == "__main__":
    main()

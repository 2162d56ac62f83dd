# SPDX-License-Identifier: LGPL-2.1-or-later
"""The arithmetic of Benchmarks/ktSimulateRanks.py: simulate_test.py FOLDER_OF_BENCHMARKS"""
import sys
import unittest

sys.path.insert(0, sys.argv[1])
from ktSimulateRanks import (LEAST_LOOP, LEAST_NEARBY, RAYS_PER_BATCH, Network, Scene, block_size, efficiency, loop_seconds,
                             pass_seconds, processor_seconds, simulate)

BATCH = 0.5  # seconds
FAST = Network(latency=0, bandwidth=1e30, poll=0)


def scene(loops, threads=1, dispatch=0.0, serial=0.0, build=0.0, sizes=()):
    return Scene(threads, BATCH / RAYS_PER_BATCH, dispatch / RAYS_PER_BATCH, 1.0, loops, serial, build, list(sizes))


def batches(count):
    return count * RAYS_PER_BATCH


class Simulation(unittest.TestCase):
    def test_one_rank_takes_the_sum(self):
        parts = simulate(scene([batches(100), batches(30)], serial=7, build=5, sizes=[1e9]), 1, FAST)
        self.assertAlmostEqual(sum(parts.values()), 130 * BATCH + 12)
        self.assertEqual(parts["broadcast"], 0)

    def test_perfect_network_shares_a_long_loop_evenly(self):
        long = scene([batches(64 * 1000)])
        for ranks in (2, 8, 64):
            self.assertGreater(efficiency(long, ranks, FAST), 0.98)
            self.assertLessEqual(efficiency(long, ranks, FAST), 1 + 1e-9)

    def test_build_and_serial_parts_follow_amdahl(self):
        for ranks in (2, 8):
            whole = scene([batches(100000)], serial=3000, build=2000)
            expected = (5000 + 50000) / (ranks * (5000 + 50000 / ranks))
            self.assertAlmostEqual(efficiency(whole, ranks, FAST), expected, delta=0.005)

    def test_ranks_of_a_machine_build_once_and_lend_threads(self):
        whole = scene([batches(1000)], serial=30, build=20)
        whole.structure_size, whole.parallel = 1000, 0.5
        network = Network(latency=0, bandwidth=100, poll=0)
        parts = simulate(whole, 8, network, per_machine=4)
        self.assertAlmostEqual(parts["build"], 5)
        self.assertAlmostEqual(parts["serial"], 15 + 15 / 4)
        self.assertAlmostEqual(parts["broadcast"], 10)
        whole.sizes = [700]  # travels while rank 0 builds for 5 seconds
        self.assertAlmostEqual(simulate(whole, 8, network, per_machine=4)["broadcast"], 10 + 2)
        whole.sizes = []
        parts = simulate(whole, 8, network)
        self.assertAlmostEqual(parts["build"], 20)
        self.assertAlmostEqual(parts["serial"], 30)
        self.assertEqual(parts["broadcast"], 0)
        self.assertAlmostEqual(processor_seconds(whole, 4) - processor_seconds(whole, 4, 4), 60)

    def test_small_loops_run_on_rank_0(self):
        small = scene([LEAST_LOOP - RAYS_PER_BATCH] * 10)
        self.assertAlmostEqual(sum(simulate(small, 8, FAST).values()), sum(simulate(small, 1, FAST).values()))
        self.assertEqual(simulate(small, 8, FAST)["tracing"], 0)

    def test_loops_on_one_machine_are_shared_if_long(self):
        short, long = [scene([rays]) for rays in (LEAST_NEARBY - 1, LEAST_NEARBY)]
        self.assertGreater(simulate(short, 2, FAST)["tracing"], 0)
        self.assertEqual(simulate(short, 2, FAST, per_machine=2)["tracing"], 0)
        self.assertGreater(simulate(short, 3, FAST, per_machine=2)["tracing"], 0)
        self.assertGreater(simulate(long, 2, FAST, per_machine=2)["tracing"], 0)

    def test_last_block_limits_a_short_loop(self):
        # The last batches are half as long.
        self.assertAlmostEqual(loop_seconds(batches(20), 64, scene([]), FAST), BATCH / 2)
        self.assertAlmostEqual(loop_seconds(batches(65), 64, scene([]), FAST), 1.5 * BATCH)

    def test_latency_adds_to_a_loop(self):
        slow = Network(latency=10, bandwidth=1e30, poll=0)
        fast = loop_seconds(batches(20), 64, scene([]), FAST)
        self.assertAlmostEqual(loop_seconds(batches(20), 64, scene([]), slow), fast + 20)

    def test_busy_rank_0_limits_many_ranks(self):
        # Rank 0 needs a tenth of the time of a batch for it: two threads of it serve at most twenty ranks.
        busy = scene([batches(20000)], dispatch=BATCH / 10)
        seconds = loop_seconds(batches(20000), 512, busy, FAST)
        self.assertGreater(seconds, 20000 * BATCH / 10 / 2 * 0.9)

    def test_blocks_get_smaller(self):
        self.assertEqual(block_size(1000, 1, 2, 2), 16)
        self.assertEqual(block_size(80, 1, 2, 2), 10)
        self.assertEqual(block_size(9, 1, 2, 2), 2)
        self.assertEqual(block_size(2, 1, 2, 2), 1)
        self.assertEqual(block_size(1, 1, 2, 2), 1)
        self.assertEqual(block_size(20, 1, 64, 2), 1)
        self.assertEqual(block_size(1000, 4, 8, 8), 64)

    def test_broadcasts(self):
        network = Network(latency=0, bandwidth=100, poll=0)
        self.assertAlmostEqual(network.broadcast(1000, 64, False), 630)
        self.assertAlmostEqual(network.broadcast(1000, 64, True), 10)
        self.assertEqual(network.broadcast(1000, 1), 0)

    def test_processor_time(self):
        self.assertAlmostEqual(processor_seconds(scene([batches(100)], serial=3, build=2), 4), 3 + 8 + 50)
        with_dispatch = scene([batches(100)], dispatch=0.01)
        self.assertAlmostEqual(processor_seconds(with_dispatch, 4), 50 + 0.75)

    def test_many_geometries_ahead_keep_all_ranks_busy(self):
        parts = [batches(1)] * 20000
        for ranks in (2, 8, 64):
            seconds = pass_seconds(parts, ranks, scene(parts), FAST, 0.0)
            self.assertGreaterEqual(seconds, 20000 * BATCH / ranks)
            self.assertLess(seconds, 20000 * BATCH / ranks * 1.02)

    def test_last_geometry_limits_a_short_pass(self):
        # Rank 0 and three others trace two, two, two and one: each is small enough to be traced as a whole.
        parts = [batches(1)] * 64 + [batches(1)] * 3
        self.assertAlmostEqual(pass_seconds(parts, 4, scene(parts), FAST, 0.0), 17 * BATCH)

    def test_calls_of_rank_0_limit_many_ranks(self):
        parts = [batches(1)] * 20000
        self.assertGreater(pass_seconds(parts, 512, scene(parts), FAST, BATCH / 10), 2000 * BATCH)
        self.assertLess(pass_seconds(parts, 4, scene(parts), FAST, BATCH / 10), (20000 + 2000) * BATCH / 4 * 1.02)

    def test_large_geometry_is_a_loop_of_all(self):
        parts = [batches(6400)]
        self.assertAlmostEqual(pass_seconds(parts, 8, scene(parts), FAST, 0.0),
                               loop_seconds(batches(6400), 8, scene(parts), FAST))

    def test_messages_limit_a_slow_network(self):
        parts = [batches(1)] * 1000
        slow = Network(latency=0, bandwidth=RAYS_PER_BATCH / BATCH, poll=0)  # a geometry takes as long to send as to trace
        self.assertGreater(pass_seconds(parts, 8, scene(parts), slow, 0.0), 1000 * BATCH / 2 * 0.95)

    def test_more_rays_need_no_more_messages(self):
        whole = scene([batches(10)], dispatch=0.1)
        whole.passes = [[batches(10)]]
        before = whole.dispatch_per_ray * sum(whole.loops), whole.bytes_per_ray * sum(whole.loops)
        whole.multiply_rays(16)
        self.assertEqual(whole.passes, [[batches(160)]])
        self.assertAlmostEqual(whole.dispatch_per_ray * sum(whole.loops), before[0])
        self.assertAlmostEqual(whole.bytes_per_ray * sum(whole.loops), before[1])

    def test_stats_are_read(self):
        stats = {
            "threads": 1, "raysTraced": {"direct": 1.5e6, "indirect": 3e6}, "settings": {"bounces": 2},
            "geometries": [{"raysTraced": 3e6, "traced": True}, {"raysTraced": 1.5e6, "traced": True},
                           {"raysTraced": 0, "traced": False}],
            "occludingTriangles": 1000, "sceneVertices": 500,
            "seconds": {"read": 1, "structure": 3, "tracing": 10, "storing": 0.5, "write": 2},
            "ranks": [{"threads": 1, "vertices": 3000, "seconds": {"tracing": 6, "waiting": 1}},
                      {"threads": 1, "vertices": 1000, "bytesSent": 90000, "bytesReceived": 10000,
                       "seconds": {"tracing": 3, "waiting": 1, "structure": 2.5, "sending": 0.1}}]}
        found = Scene.from_stats(stats)
        self.assertEqual([round(loop) for loop in found.loops], [1000000, 500000] * 3)
        self.assertAlmostEqual(found.seconds_per_ray, 9 / 4.5e6)
        self.assertAlmostEqual(found.serial, 1 + 2 + 10 + 0.5 - 7 + 0.5)
        self.assertAlmostEqual(found.build, 2.5)
        self.assertAlmostEqual(found.dispatch_per_ray, 0.1 / (4.5e6 / 4))
        self.assertEqual(found.sizes, [18000, 6000, 6000])
        self.assertAlmostEqual(found.bytes_per_ray, 70000 / (4.5e6 / 4))
        stats["ranks"][1]["structureBytes"] = 20000
        stats["raysTraced"] = {"direct": 1.5e7, "indirect": 3e7}
        stats["geometries"] = [{"raysTraced": 4.5e7, "traced": True}]
        found = Scene.from_stats(stats)
        self.assertEqual(found.structure_size, 20000)
        self.assertAlmostEqual(found.build, 3 * 2)
        self.assertAlmostEqual(found.serial, 1 + 2 + 10 + 0.5 - 7)
        self.assertAlmostEqual(found.bytes_per_ray, 50000 / (4.5e7 / 4))
        self.assertEqual(found.passes, [])
        stats["ranks"][0]["geometries"] = 3
        found = Scene.from_stats(stats, False)
        self.assertEqual([[round(part) for part in parts] for parts in found.passes], [[15000000]] * 3)
        self.assertAlmostEqual(found.serial, 10 + 0.5 - 7)
        self.assertAlmostEqual(found.calls, 3 / 3.5)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)

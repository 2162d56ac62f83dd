#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Simulates one bake on many ranks, from the --stats of a bake on two ranks, and prints where the time goes.

    mpirun -n 2 ktbake scene.glb -o out.glb --threads 1 --stats two.json
    ktSimulateRanks.py two.json --ranks 1 2 8 64 512

Each simulated rank has the threads and the speed of the measured ones. Passes are simulated geometry by geometry, with the rules
of ktPassAhead: a rank traces whole geometries, rank 0 uses them in their order, and large ones are loops that all share. Loops
are simulated block by block, with the rules of ktRankPool: what rank 0 hands out, what travels, what it stores. Reading and all
else between runs on rank 0.
--per-machine ranks share a machine: then rank 0 builds the structure for all and sends it, and borrows their threads for it
and for the share --parallel of its other work. With one rank per machine, each builds the structure. --latency, --bandwidth and
--poll describe the network.
--compare FILE... prints measured bakes of other numbers of ranks beside the simulation. With more ranks than cores, only
their processor time can be compared.

If the statistics come from a busy machine, their times are too long, but numbers of loops, rays and bytes hold: --ray-ns,
--dispatch-ns, --build-s and --serial-s replace the times. --rays-times 16 simulates 16 times the rays, with the same vertices:
for a scene that was measured with few rays.

What-if options: --relay no sends the scene to one rank after the other; --in-turn traces one
geometry after the other, each in loops that all share; --least-rays is the smallest block of a thread."""

import argparse
import heapq
import json
import math

RAYS_PER_BATCH = 1 << 14  # ktItemsPerBatch()
UNIT = 1 << 13            # rays of a batch at the end of a loop
LEAST_LOOP = 1 << 16      # rays for each thread of rank 0; smaller loops are not shared
LEAST_NEARBY = 1 << 20    # the same if all ranks are on one machine
MOST_BATCHES = 16         # of a thread in a block
SHARE_OF_REST = 4
BLOCKS_AHEAD = 2
JOBS_PER_RANK = 16        # a geometry that is traced as a whole has at most this part of a rank's share of a pass,
MOST_JOB = 1 << 27        # and at most so many rays; or
EARLY_FACTOR = 4          # times that part,
LEAST_REST = 2            # if every rank has so many times its work left after it
RAYS_AHEAD = 1 << 23      # of a thread; a pass is traced so far ahead
JOBS_AHEAD = 4            # of a rank, at least


class Network:
    """Seconds, and bytes per second."""

    def __init__(self, latency=2e-6, bandwidth=12.5e9, poll=1e-4):
        self.latency, self.bandwidth, self.poll = latency, bandwidth, poll

    def broadcast(self, size, ranks, is_relayed=True):
        """Relayed in pieces, each rank sends while it receives; otherwise rank 0 sends to one after the other."""
        if ranks < 2:
            return 0.0
        if not is_relayed:
            return (ranks - 1) * size / self.bandwidth + self.latency
        return size / self.bandwidth + math.ceil(math.log2(ranks)) * (self.latency + self.poll)


class Scene:
    """What was measured. Times of loops are for one thread."""

    def __init__(self, threads, seconds_per_ray, dispatch_per_ray, bytes_per_ray, loops, serial, build, sizes,
                 structure_size=0, parallel=0.0, lent=1, passes=(), calls=0.0):
        self.threads = threads                    # of each rank
        self.seconds_per_ray = seconds_per_ray
        self.dispatch_per_ray = dispatch_per_ray  # seconds of rank 0 to make and store blocks of others
        self.bytes_per_ray = bytes_per_ray
        self.loops = loops                        # rays of each
        self.serial = serial                      # seconds of rank 0 between loops, with reading and writing
        self.parallel = parallel                  # share of them in which borrowed threads help
        self.lent = lent                          # ranks whose threads made `serial`
        self.build = build                        # seconds of the structure with the threads of one rank
        self.structure_size = structure_size      # bytes
        self.sizes = sizes                        # bytes of the messages to all: scene, light of each bounce
        self.passes = list(passes)                # rays of each geometry, by pass; empty: geometries are traced in turn
        self.calls = calls                        # share of `serial` that comes between two geometries

    def builds_once(self, ranks, per_machine):
        return min(ranks, per_machine) > 1 and self.structure_size > 0

    def serial_seconds(self, sharing):
        """Of rank 0 between the loops, with the threads of so many ranks."""
        return self.serial * (1 - self.parallel + self.parallel / sharing) / (1 - self.parallel + self.parallel / self.lent)

    def is_shared(self, rays, is_nearby=False):
        """Whether a loop is shared if there are other ranks. @param is_nearby all are on one machine"""
        return rays >= (LEAST_NEARBY if is_nearby else LEAST_LOOP) * self.threads

    @staticmethod
    def from_stats(stats, whole=True):
        """@param whole with reading and writing"""
        ranks, seconds = stats["ranks"], stats["seconds"]
        threads = ranks[0]["threads"]
        direct, indirect = stats["raysTraced"]["direct"], stats["raysTraced"]["indirect"]
        bounces = max(1, stats["settings"]["bounces"]) if indirect > 0 else 0
        passes = [direct] + [indirect / max(bounces, 1)] * bounces
        rays = sum(passes)
        vertices = sum(rank["vertices"] for rank in ranks)
        loops = [part["raysTraced"] / rays * of_pass for of_pass in passes for part in stats["geometries"] if part["traced"]]
        in_loops = (ranks[0]["seconds"]["tracing"] + ranks[0]["seconds"]["waiting"]) / threads
        copied = ranks[1].get("structureBytes", 0)
        least = LEAST_NEARBY if copied else LEAST_LOOP
        is_ahead = any(rank.get("geometries", 0) > 0 for rank in ranks)
        small = 0 if is_ahead else sum(loop for loop in loops if loop < least * threads)
        per_ray = sum(rank["seconds"]["tracing"] for rank in ranks) / max(rays - small, 1)
        # Copied structures were built with the threads of all these ranks.
        lent = len(ranks) if copied else 1
        build = seconds["structure"] * lent if copied else ranks[1]["seconds"]["structure"]
        others = ("read", "write") if whole else ()
        serial = seconds["tracing"] + seconds["storing"] + sum(seconds[name] for name in others) - in_loops
        serial += (0.0 if copied else max(0.0, seconds["structure"] - build)) - small * per_ray / threads / lent
        remote = max(ranks[1]["vertices"] * rays / vertices, 1)
        sizes = [12 * (stats["occludingTriangles"] + stats["sceneVertices"])] + [12 * stats["sceneVertices"]] * bounces
        carried = ranks[1]["bytesSent"] + ranks[1]["bytesReceived"] - sum(sizes) - copied
        parts = sum(1 for part in stats["geometries"] if part["traced"])
        by_pass = [loops[i:i + parts] for i in range(0, len(loops), parts)] if is_ahead else []
        calls = min(1.0, max(0.0, seconds["tracing"] - in_loops) / serial) if serial > 0 else 0.0
        return Scene(threads, per_ray, ranks[1]["seconds"]["sending"] / remote, max(carried, 0) / remote, loops,
                     max(serial, 0.0), build, sizes, copied, lent=lent, passes=by_pass, calls=calls)

    def multiply_rays(self, factor):
        """More rays for the same vertices."""
        self.loops = [factor * loop for loop in self.loops]
        self.passes = [[factor * loop for loop in of_pass] for of_pass in self.passes]
        self.dispatch_per_ray /= factor
        self.bytes_per_ray /= factor


def block_size(rest, threads, all_threads, least):
    """Batches of the next block of a rank, as ktRankPool::take()."""
    share = rest * threads // all_threads
    return min(rest, threads * MOST_BATCHES, max(share // SHARE_OF_REST, min(least, share), 1))


def batch_at(rest, all_threads):
    """Units of the next batch, as ktRankPool::Loop::batchAt()."""
    return min(max(rest // (SHARE_OF_REST * all_threads), 1), RAYS_PER_BATCH // UNIT)


def loop_seconds(rays, ranks, scene, network, least_rays=1 << 14, is_nearby=False):
    """Seconds of one loop."""
    threads = scene.threads
    if ranks == 1 or not scene.is_shared(rays, is_nearby):
        batches = math.ceil(rays / RAYS_PER_BATCH)
        return math.ceil(batches / threads) * rays / batches * scene.seconds_per_ray
    units = math.ceil(rays / UNIT)
    per_unit = rays / units * scene.seconds_per_ray
    dispatch = rays / units * scene.dispatch_per_ray  # half to make, half to store
    size = rays / units * scene.bytes_per_ray
    rest, now, network_free, events, number, end = units, 0.0, 0.0, [], 0, 0.0
    free = [0.0] * ranks  # when a rank has traced all its blocks

    def hand_out(rank, when):
        """Returns when rank 0 has made the block."""
        nonlocal rest, network_free, number
        batch = batch_at(rest, ranks * threads)
        batches = block_size(math.ceil(rest / batch), threads, ranks * threads,
                             threads * math.ceil(least_rays / (batch * UNIT)))
        block = min(rest, batches * batch)
        rest -= block
        made = when + block * dispatch / 2
        network_free = max(network_free, made) + block * size / network.bandwidth
        free[rank] = max(free[rank], network_free + network.latency + network.poll) + math.ceil(batches / threads) * batch * per_unit
        number += 1
        heapq.heappush(events, (free[rank] + network.latency + network.poll, number, rank, block))
        return made

    for ahead in range(BLOCKS_AHEAD):
        for rank in range(1, ranks):
            if rest > ahead * threads:
                now = hand_out(rank, now)
    for thread in range(threads):
        number += 1
        heapq.heappush(events, (now, number, 0, 0))
    dispatchers = [now] * (1 + threads)  # the thread that receives; those that trace help
    debt = 0.0                           # of the threads that trace on rank 0: all share its cores
    while events:
        # In the order of time: batches of rank 0 (rank 0, no block) and results of others.
        when, _, rank, block = heapq.heappop(events)
        end = max(end, when)
        if rank == 0:
            if rest > 0:
                batch = min(rest, batch_at(rest, ranks * threads))
                rest -= batch
                number += 1
                heapq.heappush(events, (when + batch * per_unit + debt, number, 0, 0))
                debt = 0.0
            continue
        at = dispatchers.index(min(dispatchers))
        stored = max(when, dispatchers[at]) + block * dispatch / 2
        end = max(end, stored)
        dispatchers[at] = hand_out(rank, stored) if rest > (threads if free[rank] > stored else 0) else stored
        debt += dispatchers[at] - max(when, stored - block * dispatch / 2)
    return end


def pass_seconds(parts, ranks, scene, network, per_call, least_rays=1 << 14, is_nearby=False):
    """Seconds of a pass whose geometries are traced ahead. @param parts rays of each @param per_call seconds of rank 0 for each"""
    most, early = (min(factor * sum(parts) / (JOBS_PER_RANK * ranks), MOST_JOB) for factor in (1, EARLY_FACTOR))
    is_large, rest = [], sum(parts)
    for rays in parts:
        rest -= rays
        is_large.append(rays > (early if LEAST_REST * rays * ranks <= rest else most))
    free = [0.0] * (ranks - 1)  # when a rank has traced its geometries; a heap
    done, now, following, limit, ahead, messages_free = {}, 0.0, 0, 0, 0.0, 0.0

    def seconds(part):
        return parts[part] * scene.seconds_per_ray / scene.threads

    def skip_large():
        nonlocal following
        while following < len(parts) and is_large[following]:
            following += 1

    def hand_out():
        nonlocal following, messages_free
        skip_large()
        while free and free[0] <= now and following < limit:
            messages_free = max(messages_free, free[0]) + parts[following] * (
                scene.bytes_per_ray / network.bandwidth + scene.dispatch_per_ray)
            # The next geometry of a rank is on its way while it traces one.
            done[following] = max(free[0], messages_free) + seconds(following)
            heapq.heapreplace(free, done[following])
            following += 1
            skip_large()

    for part, rays in enumerate(parts):
        while limit < len(parts) and (ahead < RAYS_AHEAD * ranks * scene.threads or limit - part < JOBS_AHEAD * ranks):
            ahead += parts[limit]
            limit += 1
        hand_out()
        if is_large[part]:
            now = max(now, sum(free) / len(free)) + loop_seconds(rays, ranks, scene, network, least_rays, is_nearby)
            free = [max(now, each) for each in free]
            heapq.heapify(free)
        elif part not in done:
            following = part + 1
            now += seconds(part)
        while done.get(part, now) > now + network.latency + network.poll:
            hand_out()
            if following < limit:
                done[following] = now = now + seconds(following)
                following += 1
            else:
                now = done[part] + network.latency + network.poll
        now += per_call
        ahead -= rays
    return now


def simulate(scene, ranks, network, least_rays=1 << 14, is_relayed=True, per_machine=1):
    """Seconds of a bake, by what they are spent on."""
    sharing = min(ranks, per_machine)  # ranks on the machine of rank 0
    is_nearby = 1 < ranks <= per_machine
    sizes, build = list(scene.sizes), scene.build
    if scene.builds_once(ranks, per_machine):
        sizes.append(scene.structure_size)
        build /= sharing
    broadcast = sum(network.broadcast(size, ranks, is_relayed) for size in sizes)
    if scene.sizes and scene.builds_once(ranks, per_machine):
        # The scene travels while rank 0 builds.
        broadcast -= min(build, network.broadcast(scene.sizes[0], ranks, is_relayed))
    loops = scene.loops
    serial = scene.serial_seconds(sharing)
    if scene.passes and ranks > 1:
        calls = serial * scene.calls
        per_call = calls / sum(map(len, scene.passes))
        in_passes = sum(pass_seconds(parts, ranks, scene, network, per_call, least_rays, is_nearby) for parts in scene.passes)
        ideal = sum(loops) * scene.seconds_per_ray / scene.threads / ranks
        return {"serial": serial, "build": build,
                "broadcast": broadcast,
                "tracing": ideal, "small loops": 0.0, "loops' ends": max(0.0, in_passes - calls - ideal)}
    known = {}
    for loop in loops:
        if loop > 0 and loop not in known:
            known[loop] = loop_seconds(loop, ranks, scene, network, least_rays, is_nearby)
    in_loops = sum(known[loop] for loop in loops if loop > 0)
    thread_seconds = sum(loops) * scene.seconds_per_ray / scene.threads
    alone = sum(known[loop] for loop in loops if loop > 0 and not scene.is_shared(loop, is_nearby)) if ranks > 1 else 0.0
    ideal = (thread_seconds - alone) / ranks
    return {"serial": serial, "build": build,
            "broadcast": broadcast,
            "tracing": ideal, "small loops": alone / sharing, "loops' ends": max(0.0, in_loops - ideal - alone)}


def efficiency(scene, ranks, network, **what_if):
    alone = sum(simulate(scene, 1, network).values())
    return alone / (ranks * sum(simulate(scene, ranks, network, **what_if).values()))


def processor_seconds(scene, ranks, per_machine=1):
    """Of all ranks together: the calculation without waiting."""
    rays = sum(scene.loops)
    is_nearby = 1 < ranks <= per_machine
    remote = sum(loop for loop in scene.loops if scene.passes or scene.is_shared(loop, is_nearby)) * (ranks - 1) / ranks
    builds = 1 if scene.builds_once(ranks, per_machine) else ranks
    return scene.serial + (builds * scene.build + rays * scene.seconds_per_ray) + remote * scene.dispatch_per_ray


def measured_processor_seconds(stats):
    """The same of a measured bake: with one process, its threads are taken as busy all the time."""
    if "ranks" not in stats:
        return stats["threads"] * sum(stats["seconds"][part] for part in ("structure", "tracing", "storing"))
    scene = Scene.from_stats(stats, False)
    ranks = stats["ranks"]
    build = scene.build if scene.structure_size > 0 else ranks[1]["seconds"]["structure"] * len(ranks)
    sending = sum(rank["seconds"].get("sending", 0) for rank in ranks)
    return scene.serial + build + sum(rank["seconds"]["tracing"] for rank in ranks) + sending


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("stats", help="--stats of a bake on two ranks or more, on an idle machine")
    parser.add_argument("--ranks", type=int, nargs="+", default=[1, 2, 4, 8, 64, 512])
    parser.add_argument("--latency", type=float, default=2, help="of a message, microseconds; default 2")
    parser.add_argument("--bandwidth", type=float, default=100, help="gigabits per second; default 100")
    parser.add_argument("--poll", type=float, default=100, help="microseconds until a rank sees a message; default 100")
    parser.add_argument("--ray-ns", type=float, help="nanoseconds of a thread per ray")
    parser.add_argument("--dispatch-ns", type=float, help="nanoseconds of rank 0 per ray that another rank traces")
    parser.add_argument("--build-s", type=float, help="seconds of the structure with the threads of one rank")
    parser.add_argument("--structure-mb", type=float, help="megabytes of the structure")
    parser.add_argument("--serial-s", type=float, help="seconds of rank 0 between the loops, with the threads of one rank")
    parser.add_argument("--parallel", type=float, default=0.0, help="share of them in which borrowed threads help; default 0")
    parser.add_argument("--per-machine", type=int, default=1, help="ranks on each machine; default 1")
    parser.add_argument("--whole", action="store_true", help="with reading and writing")
    parser.add_argument("--relay", choices=("yes", "no"), default="yes")
    parser.add_argument("--in-turn", action="store_true")
    parser.add_argument("--rays-times", type=float, default=1.0)
    parser.add_argument("--least-rays", type=int, default=1 << 14)
    parser.add_argument("--compare", nargs="*", default=[], help="--stats of other bakes of the same scene")
    arguments = parser.parse_args()
    network = Network(arguments.latency * 1e-6, arguments.bandwidth / 8 * 1e9, arguments.poll * 1e-6)
    with open(arguments.stats) as opened:
        scene = Scene.from_stats(json.load(opened), arguments.whole)
    for value, name, unit in ((arguments.ray_ns, "seconds_per_ray", 1e-9), (arguments.dispatch_ns, "dispatch_per_ray", 1e-9),
                              (arguments.build_s, "build", 1), (arguments.serial_s, "serial", 1),
                              (arguments.parallel, "parallel", 1), (arguments.structure_mb, "structure_size", 1e6)):
        if value is not None:
            setattr(scene, name, value * unit)
    if arguments.serial_s is not None:
        scene.lent = 1
    scene.multiply_rays(arguments.rays_times)
    if arguments.in_turn:
        scene.passes = []
    what_if = {"least_rays": arguments.least_rays, "is_relayed": arguments.relay == "yes",
               "per_machine": arguments.per_machine}
    print("%d threads a rank; %d loops, %d of them shared; %.1f ns and %.3f bytes per ray, %.2f ns of rank 0 for a ray elsewhere" % (
        scene.threads, len(scene.loops), sum(map(scene.is_shared, scene.loops)), scene.seconds_per_ray * 1e9,
        scene.bytes_per_ray, scene.dispatch_per_ray * 1e9))
    print("\n| ranks | seconds | efficiency | rank 0 alone | build | broadcast | tracing | small loops | ends |")
    print("|" + " --- |" * 9)
    for ranks in arguments.ranks:
        parts = simulate(scene, ranks, network, **what_if)
        row = [parts[name] for name in ("serial", "build", "broadcast", "tracing", "small loops", "loops' ends")]
        print("| %d | %.2f | %.2f | %s |" % (ranks, sum(row), efficiency(scene, ranks, network, **what_if),
                                           " | ".join("%.2f" % value for value in row)), flush=True)
    for file in arguments.compare:
        with open(file) as opened:
            stats = json.load(opened)
        ranks = len(stats.get("ranks", [0]))
        clock = sum(stats["seconds"][part] for part in ("structure", "tracing", "storing"))
        simulated = sum(simulate(scene, ranks, network, per_machine=ranks).values()) if not arguments.whole else float("nan")
        print("%s: %d ranks; seconds %.2f measured, %.2f simulated; of the processors %.2f measured, %.2f simulated" % (
            file, ranks, clock, simulated, measured_processor_seconds(stats), processor_seconds(scene, ranks, ranks)))


if __name__ == "__main__":
    main()

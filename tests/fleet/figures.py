"""Measures rollouts to many frames and writes a table; see scripts/fleet-test."""

import csv
import pathlib
import resource
import shutil
import subprocess
import sys
import time

import frames

FRAMES = 60
PAGES = 100
OLD = 19400
#: Frames and forks of each play.
PLAYS = [(1, 1), (FRAMES, 10), (FRAMES, 30)]


def add_frame(fleet, name, programs):
    """Adds a frame with its own tool, which waits for its turn.

    Tool and controller each need a processor during a transfer, so the frames of one machine take turns.
    """
    inside = fleet.work / name / "programs"
    fleet.add(name, tolmira_upgrade_programs=str(inside))
    inside.mkdir()
    for program in ("tolmira_controller", "tolmira_run", "tolmira_status"):
        shutil.copy(programs / program, inside)
    tool = inside / "tolmira_upgrade"
    # The lock is on tfi_make, a file that all frames share.
    tool.write_text(f'#!/bin/sh\nexec flock --no-fork {programs}/tfi_make {programs}/tolmira_upgrade "$@"\n')
    tool.chmod(0o755)


def processor_seconds():
    """Processor time of the plays that have ended. The frames' processes are not in it."""
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def measure(fleet, image, count, forks):
    """Seconds of the play, and processor seconds that it took on the control machine."""
    names = list(fleet.frames)[:count]
    for name in names:
        fleet.frames[name].start_controller("--revision", OLD)
    begin, processor_begin = time.monotonic(), processor_seconds()
    play = fleet.start_play(
        "--forks",
        str(forks),
        "--limit",
        ",".join(names),
        tolmira_rollout_serial=["100%"],
        tolmira_upgrade_image=str(image),
        tolmira_upgrade_reports=str(fleet.work / f"rollout-{count}-{forks}"),
    )
    output, _ = play.communicate()
    seconds = time.monotonic() - begin
    if play.returncode != 0:
        sys.exit(output)
    return seconds, processor_seconds() - processor_begin


def main():
    work, programs, table = map(pathlib.Path, sys.argv[1:4])
    fleet = frames.Fleet(work, programs)
    try:
        image = work / "firmware.tfi"
        make = [programs / "tfi_make", "--pages", str(PAGES), image]
        subprocess.run(make, check=True, stdout=subprocess.DEVNULL)
        for number in range(FRAMES):
            add_frame(fleet, f"frame_{number:02}", programs)
        fleet.wait_for_servers()
        with table.open("w", buffering=1, newline="") as file:
            writer = csv.writer(file, lineterminator="\n")
            writer.writerow(["frames", "forks", "seconds", "processor seconds of the control machine"])
            for count, forks in PLAYS:
                row = [count, forks, *(f"{figure:.1f}" for figure in measure(fleet, image, count, forks))]
                writer.writerow(row)
                print("frames {}, forks {}: {} s, {} processor seconds".format(*row), flush=True)
    finally:
        fleet.stop()


if __name__ == "__main__":
    main()

"""Rolls out to frames in namespaces with the real playbook over ssh; see scripts/fleet-test."""

import csv
import json
import os
import pathlib
import signal
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor

import frames

PAGES = 16
OLD = 19400
NEW = 19525
WRONG_DIGEST = "0" * 64


def refused(page):
    """Faults: the controller refuses each attempt at the page."""
    return " ".join(f"result=1@{page}.{attempt}" for attempt in range(1, 6))


def slow(*pages):
    """Faults: the transfer stops for 1.5 seconds at each of the pages."""
    return " ".join(f"slow=1500@{page}.1.0" for page in pages)


class Test:
    def __init__(self, work, programs, package, count):
        self.fleet = frames.Fleet(work, programs)
        self.work = work
        self.package = package
        self.image = work / "firmware.tfi"
        self.failures = 0
        make = [programs / "tfi_make", "--pages", str(PAGES), self.image]
        subprocess.run(make, check=True, stdout=subprocess.DEVNULL)
        self.content = frames.content_of(self.image)
        self.make_frames(count)

    def make_frames(self, count):
        self.fleet.add("canary")
        self.fleet.add("cut")
        self.fleet.add("page_fails", tolmira_upgrade_verify_seconds=1)
        self.fleet.add("installs", tolmira_upgrade_packages=[str(self.package)], tolmira_upgrade_programs="/usr/bin")
        self.fleet.add("current", tolmira_on_air=True)
        self.fleet.add("absent", tolmira_upgrade_wait_seconds=1)
        self.fleet.add("last_page", tolmira_upgrade_verify_seconds=5)
        self.fleet.add("digest", tolmira_upgrade_sha256=WRONG_DIGEST)
        for number in range(len(self.fleet.frames), count):
            self.fleet.add(f"more_{number:02}")
        self.fleet.wait_for_servers()
        faults = {
            "cut": slow(6, 9),
            "page_fails": refused(2),
            "installs": slow(3),
            "last_page": f"{slow(5)} {refused(PAGES - 1)}",
        }
        for name, frame in self.fleet.frames.items():
            if name != "absent":
                revision = NEW if name == "current" else OLD
                frame.start_controller("--revision", revision, "--faults", faults.get(name, ""))

    def frame(self, name):
        return self.fleet.frames[name]

    def check(self, holds, what):
        if not holds:
            self.failures += 1
            print(f"FAILED: {what}", flush=True)

    def check_equal(self, found, expected, what):
        self.check(found == expected, f"{what}: {found!r}, expected {expected!r}")

    def begin(self, heading):
        print(f"== {heading}, after {time.monotonic() - START:.0f} seconds", flush=True)

    def start_play(self, *arguments, **variables):
        variables = {
            "tolmira_upgrade_image": str(self.image),
            "tolmira_upgrade_reports": str(self.work / "rollout"),
            "tolmira_upgrade_poll_seconds": 1,
            **variables,
        }
        return self.fleet.start_play(*arguments, **variables)

    def play(self, exit_value, *arguments, **variables):
        """Returns the changes by frame. Puts the rows of the report into self.rows, the output into self.output."""
        process = self.start_play(*arguments, **variables)
        self.output, _ = process.communicate()
        if process.returncode != exit_value:
            print(self.output)
        self.check_equal(process.returncode, exit_value, "exit value of the play")
        with (self.work / "rollout/rollout.csv").open(newline="") as file:
            self.rows = {row["frame"]: row for row in csv.DictReader(file)}
        page = (self.work / "rollout/rollout.html").read_text()
        for name in self.rows:
            self.check(f"<td>{name}</td>" in page, f"{name} is on the page")
        return frames.changes_in(self.output)

    def check_row(self, name, outcome, cause, before="", after=""):
        row = self.rows[name]
        found = (row["outcome"], row["cause"], row["before"], row["after"])
        self.check_equal(found, (outcome, cause, str(before), str(after)), f"row of {name}")

    def check_upgraded(self, name):
        self.check_row(name, "upgraded", "upgraded", OLD, NEW)
        self.check(self.frame(name).flash() == self.content, f"the flash of {name} is the image's content")
        report = self.report(name)
        self.check_equal(report["exit_value"], 0, f"exit value of {name}")
        self.check_equal(report["verified"], True, f"verification of {name}")

    def check_untouched(self, name, cause):
        self.check_row(name, "untouched", cause)
        self.check(self.frame(name).flash() is None, f"the flash of {name} is empty")
        self.check(not self.frame(name).path("/var/lib/tolmira-upgrade").exists(), f"{name} is untouched")

    def report(self, name):
        return json.loads((self.work / f"rollout/{name}.json").read_text())

    def check_failed(self, name, cause, exit_value):
        row = self.rows[name]
        self.check_equal((row["outcome"], row["cause"]), ("failed", cause), f"row of {name}")
        self.check_equal(self.report(name)["exit_value"], exit_value, f"exit value of {name}")
        self.check(row["next_step"] == self.report(name)["next_step"] != "", f"next step of {name}")
        self.check(self.frame(name).flash() != self.content, f"{name} has no whole image")

    def wait_for_page(self, name, page):
        """Waits for the first attempt at a page that the controller takes slowly."""
        log = self.frame(name)
        frames.wait_until(lambda: f"fault: slow=1500@{page}.1" in log.text("controller.log"), f"{name}'s page {page}")

    def one_upgrade(self, name):
        """Checks that the frame saw one upgrade, and restarts its controller."""
        report = self.frame(name).stop_controller()
        self.check_equal((report["begin_messages"], report["upgrades"]), (1, 1), f"starts on {name}")
        self.frame(name).start_controller("--revision", NEW)

    # The stages. Each one starts with the frames as the previous one left them.

    def check_mode(self):
        self.begin("Check mode changes nothing and shows what would happen")
        names = ["canary", "current", "absent", "installs"]
        mailboxes = [self.frame(name).mailbox() for name in names]
        self.fleet.variables["no_server"] = {"ansible_port": 1}
        changes = self.play(
            4,
            "--check",
            "--limit",
            ",".join([*names, "no_server"]),
            tolmira_rollout_serial="100%",
            tolmira_rollout_max_fail_percentage=100,
            tolmira_rollout_touch_on_air=True,
        )
        del self.fleet.variables["no_server"]
        expected = {"canary": 1, "current": 0, "absent": 0, "installs": 3, "no_server": 0}
        self.check_equal(changes, expected, "changes")
        self.check_row("canary", "would upgrade", "would be upgraded", OLD, OLD)
        self.check_equal(self.rows["installs"]["outcome"], "would install", "outcome of installs")
        self.check_row("no_server", "unreachable", "no connection")
        self.check_row("current", "current", "already current", NEW, NEW)
        self.check_equal(self.rows["absent"]["cause"], "would fail, controller missing", "cause of absent")
        self.check_equal([self.frame(name).mailbox() for name in names], mailboxes, "mailboxes")
        for name in names:
            self.check(not self.frame(name).path("/var/lib/tolmira-upgrade").exists(), f"{name} is untouched")

    def stop_at_failure(self):
        self.begin("A batch with a failure is the last one; a lost connection is not a failure")
        with ThreadPoolExecutor() as pool:
            cut = pool.submit(self.cut_in_mid_transfer)
            held = pool.submit(self.hold_lock, "page_fails", runs=2)
            self.play(2, tolmira_rollout_serial=[1, 2, "100%"])
        cut.result()
        held.result()
        self.check_upgraded("canary")
        self.check_upgraded("cut")
        self.one_upgrade("cut")
        self.check_failed("page_fails", "another run", 75)
        self.check_untouched("current", "left out, on air")
        for name in self.fleet.frames:
            if name not in ("canary", "cut", "page_fails", "current"):
                self.check_untouched(name, "not reached")

    def cut_in_mid_transfer(self):
        self.wait_for_page("cut", 6)
        self.frame("cut").cut_connections()

    def hold_lock(self, name, runs):
        """Holds the frame's lock, as a run does, until that many other runs have written their reports.

        Returns the time of the last report.
        """
        holder = self.frame(name).start(
            "flock", "/dev/shm/resource0.lock", "sleep", "infinity", output=subprocess.DEVNULL
        )
        try:
            time_of_report = self.time_of_report(name)
            for run in range(runs):
                old = time_of_report
                frames.wait_until(lambda: self.time_of_report(name) != old, f"report {run + 1} of {runs} from {name}")
                time_of_report = self.time_of_report(name)
        finally:
            os.killpg(holder.pid, signal.SIGKILL)
            holder.wait()
        return time_of_report

    def time_of_report(self, name):
        report = self.frame(name).path("/var/lib/tolmira-upgrade/report.json")
        return report.stat().st_mtime if report.exists() else None

    def go_on(self):
        self.begin("The rest, despite failures in fewer frames than permitted")
        self.kill_a_run("last_page")
        self.fleet.variables["page_fails"]["tolmira_upgrade_verify_seconds"] = 3
        with ThreadPoolExecutor() as pool:
            killed = pool.submit(self.kill_runner_in_mid_transfer)
            held = pool.submit(self.hold_lock, "page_fails", runs=1)
            # Four of the first six frames fail, fewer than the limit, so the second batch follows.
            changes = self.play(2, tolmira_rollout_serial=[6, "100%"], tolmira_rollout_max_fail_percentage=70)
        killed.result()
        pause = self.time_of_report("page_fails") - held.result()
        self.check(pause > 4.9, f"a pause longer than the verification: {pause:.1f} seconds")
        self.check_row("canary", "current", "already current", NEW, NEW)
        self.check_equal((changes["canary"], changes["cut"]), (0, 0), "changes of current frames")
        self.check_failed("page_fails", "page failed", 11)
        self.check_equal(self.report("page_fails")["failed_page"]["page"], 2, "failed page")
        self.check_row("installs", "failed", "the runner was killed", OLD)
        self.check(self.frame("installs").path("/usr/bin/tolmira_run").exists(), "installed programs")
        self.check_failed("absent", "controller missing", 3)
        self.check_failed("last_page", "page failed", 11)
        self.check_equal(self.report("last_page")["recovered"], True, "recovery after the killed run")
        self.check_failed("digest", "wrong digest", 27)
        for name in self.fleet.frames:
            if name.startswith("more"):
                self.check_upgraded(name)

    def kill_runner_in_mid_transfer(self):
        self.wait_for_page("installs", 3)
        self.frame("installs").kill("tolmira_run")
        self.frame("installs").kill("tolmira_upgrade")

    def kill_a_run(self, name):
        """Kills a run in mid-transfer."""
        log = self.frame(name).folder / "killed.log"
        with log.open("w") as output:
            tool = self.frame(name).start(
                self.fleet.programs / "tolmira_upgrade", self.image_in(name), "/none", output=output
            )
        self.wait_for_page(name, 5)
        os.killpg(tool.pid, signal.SIGKILL)
        tool.wait()

    def image_in(self, name):
        copy = self.frame(name).folder / "firmware.tfi"
        copy.write_bytes(self.image.read_bytes())
        return copy

    def mend(self):
        self.begin("After repairs, and after a play killed in mid-transfer; the frames on air, one at a time")
        self.frame("absent").start_controller("--revision", OLD)
        self.frame("last_page").start_controller("--revision", OLD, "--faults", slow(*range(3, 8)))
        self.fleet.variables["digest"].update(tolmira_upgrade_sha256="", tolmira_on_air=True)
        del self.fleet.variables["page_fails"]["tolmira_upgrade_verify_seconds"]
        killed = self.start_play("--limit", "last_page")
        self.wait_for_page("last_page", 3)
        os.killpg(killed.pid, signal.SIGKILL)
        killed.communicate()
        changes = self.play(
            0,
            tolmira_upgrade_packages=[],
            tolmira_rollout_serial=["100%"],
            tolmira_rollout_touch_on_air=True,
            tolmira_rollout_pause_seconds=1,
        )
        found = {name: changes[name] for name in ("absent", "digest", "page_fails", "last_page", "current")}
        self.check_equal(found, {"absent": 1, "digest": 1, "page_fails": 1, "last_page": 0, "current": 0}, "changes")
        self.check_equal(self.output.count("is on air and is next"), 2, "pauses, one before each frame on air")
        self.check_upgraded("absent")
        self.check_upgraded("digest")
        self.check_upgraded("installs")
        self.check_upgraded("page_fails")
        self.check_row("last_page", "current", "already current", NEW, NEW)
        self.check(self.frame("last_page").flash() == self.content, "the flash of last_page")
        self.one_upgrade("last_page")
        self.check_row("current", "current", "already current", NEW, NEW)

    def play_again(self):
        self.begin("Another play changes nothing")
        for name in ("current", "digest"):
            self.fleet.variables[name]["tolmira_on_air"] = False
        changes = self.play(0, tolmira_rollout_serial=["100%"])
        self.check_equal(changes, dict.fromkeys(self.fleet.frames, 0), "changes")

    def run(self):
        try:
            self.check_mode()
            self.stop_at_failure()
            self.go_on()
            self.mend()
            self.play_again()
        finally:
            self.fleet.stop()


def main():
    work, programs, package, count = sys.argv[1:5]
    test = Test(pathlib.Path(work), pathlib.Path(programs), pathlib.Path(package), int(count))
    test.run()
    if test.failures:
        sys.exit(f"fleet-test: {test.failures} checks failed")
    print(f"All checks passed after {time.monotonic() - START:.0f} seconds")


START = time.monotonic()
if __name__ == "__main__":
    main()

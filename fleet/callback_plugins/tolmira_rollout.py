"""Writes the page of a rollout: a row for each frame, as HTML and CSV.

The frames' results are the fact tolmira_upgrade_result, which the role and the playbook set. A callback
plugin sees them even if the rollout stops or a frame is lost, where no further task would run.
"""

DOCUMENTATION = """
name: tolmira_rollout
type: notification
short_description: page of a rollout
description:
  - Writes rollout.html and rollout.csv to the directory that the fact tolmira_rollout_directory names.
  - Does nothing in a playbook that doesn't set this fact.
"""

import csv
import datetime
import io
import os
import pathlib

import jinja2
from ansible.plugins.callback import CallbackBase

COLUMNS = ["frame", "outcome", "before", "after", "cause", "seconds", "next_step"]
TEMPLATES = pathlib.Path(__file__).resolve().parent.parent / "templates"
REPEAT = "repeat the rollout; the next run waits for one that is under way"


def csv_text(rows):
    text = io.StringIO(newline="")
    writer = csv.DictWriter(text, COLUMNS)
    writer.writeheader()
    writer.writerows(rows)
    return text.getvalue()


def html_text(rows):
    environment = jinja2.Environment(
        loader=jinja2.FileSystemLoader(TEMPLATES), autoescape=True, trim_blocks=True
    )
    now = datetime.datetime.now().astimezone().isoformat(" ", "minutes")
    return environment.get_template("rollout.html.j2").render(rows=rows, time=now)


def replace(path, text):
    """Writes beside the file and renames, so that a reader never sees half a page."""
    beside = path.with_name(path.name + ".new")
    beside.write_text(text, encoding="utf-8", newline="")
    os.replace(beside, path)


class Rows:
    """The latest result of each frame."""

    def __init__(self):
        self.by_frame = {}

    def update(self, frame, **values):
        row = self.by_frame.setdefault(frame, dict.fromkeys(COLUMNS, ""))
        row.update({key: "" if value in (None, "None") else value for key, value in values.items()})
        row["frame"] = frame

    def take_failure(self, frame, outcome, cause):
        """Records a failure without a report."""
        if self.by_frame.get(frame, {}).get("outcome") != "failed":
            self.update(frame, outcome=outcome, cause=cause, next_step=REPEAT)

    def sorted(self):
        return sorted(self.by_frame.values(), key=lambda row: row["frame"])


class CallbackModule(CallbackBase):
    CALLBACK_VERSION = 2.0
    CALLBACK_TYPE = "notification"
    CALLBACK_NAME = "tolmira_rollout"

    def __init__(self):
        super().__init__()
        self.directory = None
        self.rows = Rows()

    def v2_runner_on_ok(self, result):
        facts = result._result.get("ansible_facts", {})
        self.directory = facts.get("tolmira_rollout_directory", self.directory)
        if "tolmira_upgrade_result" in facts:
            self.rows.update(result._host.get_name(), **facts["tolmira_upgrade_result"])

    def v2_runner_on_failed(self, result, ignore_errors=False):
        if not ignore_errors:
            message = str(result._result.get("msg", "")).strip()
            cause = f"{result.task_name}: {message}" if message else result.task_name
            self.rows.take_failure(result._host.get_name(), "failed", cause)

    def v2_runner_on_unreachable(self, result):
        self.rows.take_failure(result._host.get_name(), "unreachable", "no connection")

    def v2_playbook_on_play_start(self, play):
        self.write()

    def v2_playbook_on_stats(self, stats):
        self.write()
        if self.directory:
            self._display.display(f"The rollout's page: {self.directory}/rollout.html")

    def write(self):
        if not self.directory:
            return
        directory = pathlib.Path(self.directory)
        directory.mkdir(parents=True, exist_ok=True)
        rows = self.rows.sorted()
        replace(directory / "rollout.html", html_text(rows))
        replace(directory / "rollout.csv", csv_text(rows))

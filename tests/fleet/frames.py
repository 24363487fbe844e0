"""Frames for tests: each has a mount and pid namespace, an ssh server and a controller."""

import json
import os
import pathlib
import re
import signal
import subprocess
import time

REPOSITORY = pathlib.Path(__file__).resolve().parent.parent.parent
FIRST_PORT = 2200
LIMIT_SECONDS = 60
PAGE_BYTES = 256

SSHD_CONFIG = """\
ListenAddress 127.0.0.1
HostKey {folder}/host_key
AuthorizedKeysFile {folder}/login_key.pub
PermitRootLogin prohibit-password
PasswordAuthentication no
StrictModes no
PidFile none
UsePAM no
MaxStartups 100
Subsystem sftp internal-sftp
"""


def wait_until(condition, what):
    end = time.monotonic() + LIMIT_SECONDS
    while not condition():
        if time.monotonic() > end:
            raise TimeoutError(f"waited {LIMIT_SECONDS} seconds for {what}")
        time.sleep(0.02)


def content_of(image):
    """The expected flash: the payload without its checksum, padded with zeroes."""
    payload = image.read_bytes().split(b"\n", 7)[7][:-2]
    return payload + bytes(-len(payload) % PAGE_BYTES)


class Frame:
    """One frame. stop() ends its processes."""

    def __init__(self, name, port, folder, programs, keys):
        self.name = name
        self.port = port
        self.folder = folder
        self.programs = programs
        self.controller = None
        folder.mkdir()
        for key in ("host_key", "login_key.pub"):
            (folder / key).write_bytes((keys / key).read_bytes())
        (folder / "host_key").chmod(0o600)
        (folder / "sshd_config").write_text(SSHD_CONFIG.format(folder=folder))
        command = ["unshare", "--mount", "--pid", "--fork", "--kill-child", "--"]
        command += [REPOSITORY / "tests/fleet/frame", folder, port, REPOSITORY]
        with (folder / "sshd.log").open("w") as log:
            self.init = subprocess.Popen(list(map(str, command)), stdout=log, stderr=log)

    def wait_for_server(self):
        wait_until(lambda: "listening" in self.text("sshd.log"), f"the ssh server of {self.name}")

    def text(self, file):
        return (self.folder / file).read_text(errors="replace")

    def pid(self):
        """The first process inside."""
        children = pathlib.Path(f"/proc/{self.init.pid}/task/{self.init.pid}/children")
        return int(children.read_text().split()[0])

    def path(self, inside):
        return pathlib.Path(f"/proc/{self.pid()}/root{inside}")

    def start(self, *command, output):
        """Starts a command inside, in a new process group."""
        return subprocess.Popen(
            ["nsenter", f"--target={self.pid()}", "--mount", "--pid", "--", *map(str, command)],
            stdout=output,
            stderr=subprocess.STDOUT,
            start_new_session=True,
        )

    def start_controller(self, *options):
        self.stop_controller()
        self.path("/dev/shm/resource0").unlink(missing_ok=True)
        command = [self.programs / "tolmira_controller", "--json", "--flash", self.folder / "flash"]
        with (self.folder / "controller.log").open("w") as log:
            self.controller = self.start(*command, *options, output=log)
        wait_until(lambda: "announced" in self.text("controller.log"), f"the controller of {self.name}")

    def stop_controller(self):
        """Returns the controller's closing report; None if none runs."""
        if not self.controller:
            return None
        os.killpg(self.controller.pid, signal.SIGTERM)
        self.controller.wait(LIMIT_SECONDS)
        self.controller = None
        wait_until(lambda: self.text("controller.log").endswith("}\n"), "the controller's report")
        return json.loads(self.text("controller.log").splitlines()[-1])

    def flash(self):
        file = self.folder / "flash"
        return file.read_bytes() if file.exists() else None

    def mailbox(self):
        file = self.path("/dev/shm/resource0")
        return file.read_bytes() if file.exists() else None

    def cut_connections(self):
        """Kills the ssh server and its sessions, but not the commands they started."""
        self.kill("sshd")

    def kill(self, program):
        """Kills all processes of the program inside."""
        inside = os.readlink(f"/proc/{self.pid()}/ns/pid")
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                is_program = (process / "comm").read_text() == program + "\n"
                if is_program and os.readlink(process / "ns/pid") == inside:
                    os.kill(int(process.name), signal.SIGKILL)
            except (FileNotFoundError, ProcessLookupError):
                pass  # the process has ended

    def stop(self):
        self.stop_controller()
        self.init.kill()
        self.init.wait()


class Fleet:
    """The frames, and the files that Ansible needs to reach them. Mounts a tmpfs at `work` for all."""

    def __init__(self, work, programs):
        self.work = work
        self.programs = programs
        self.frames = {}
        self.variables = {}
        subprocess.run(["mount", "-t", "tmpfs", "tmpfs", work], check=True)
        subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
        for key in ("host_key", "login_key"):
            command = ["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", work / key]
            subprocess.run(command, check=True)

    def add(self, name, **variables):
        port = FIRST_PORT + len(self.frames)
        self.frames[name] = Frame(name, port, self.work / name, self.programs, self.work)
        self.variables[name] = {"ansible_port": port, **variables}

    def wait_for_servers(self):
        for frame in self.frames.values():
            frame.wait_for_server()

    def write_inventory(self):
        key = (self.work / "host_key.pub").read_text()
        known = "".join(f"[127.0.0.1]:{frame.port} {key}" for frame in self.frames.values())
        (self.work / "known_hosts").write_text(known)
        everywhere = {
            "ansible_host": "127.0.0.1",
            "ansible_user": "root",
            "ansible_python_interpreter": "/usr/bin/python3",
            "ansible_ssh_private_key_file": str(self.work / "login_key"),
            "ansible_ssh_common_args": f"-o UserKnownHostsFile={self.work}/known_hosts",
            "tolmira_rollout_become": False,
            "tolmira_upgrade_programs": str(self.programs),
        }
        inventory = {"all": {"hosts": self.variables, "vars": everywhere}}
        (self.work / "frames.yml").write_text(json.dumps(inventory, indent=1))  # JSON is valid YAML

    def start_play(self, *arguments, **variables):
        self.write_inventory()
        command = ["ansible-playbook", "--inventory", self.work / "frames.yml"]
        command += [REPOSITORY / "fleet/rollout.yml", "--extra-vars", json.dumps(variables), *arguments]
        environment = {
            "PATH": os.environ["PATH"],
            "HOME": str(self.work),
            "LC_ALL": "C.UTF-8",
            "ANSIBLE_CONFIG": str(REPOSITORY / "fleet/ansible.cfg"),
            "ANSIBLE_NOCOLOR": "1",
        }
        return subprocess.Popen(
            list(map(str, command)),
            env=environment,
            text=True,
            start_new_session=True,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
        )

    def stop(self):
        for frame in self.frames.values():
            frame.stop()


RECAP = re.compile(r"^(\S+) +: ok=\d+ +changed=(\d+) ", re.MULTILINE)


def changes_in(output):
    """The number of changes by frame, from Ansible's recap."""
    return {name: int(changed) for name, changed in RECAP.findall(output)}

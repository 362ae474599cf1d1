"""An instance of Slurm of its own on the loopback: a controller and several nodes of one machine, with their own
folder, ports and keys. Nothing of an installed cluster is read or changed."""

import os
import pwd
import shutil
import signal
import socket
import subprocess
import tempfile
import time

PROGRAMS = ["munged", "slurmctld", "slurmd", "sbatch", "squeue", "scancel", "scontrol"]


def find_program(name):
    return shutil.which(name) or shutil.which(name, path="/usr/sbin:/usr/bin:/sbin:/bin")


def missing_programs():
    return [name for name in PROGRAMS if not find_program(name)]


def free_ports(count):
    """Ports that nobody listens on now."""
    sockets = [socket.socket() for _ in range(count)]
    try:
        for one in sockets:
            one.bind(("127.0.0.1", 0))
        return [one.getsockname()[1] for one in sockets]
    finally:
        for one in sockets:
            one.close()


class SlurmInstance:
    """Use it in a `with` statement: everything that it started has ended behind it."""

    def __init__(self, nodes=2, cpus=1):
        self.nodes, self.cpus = nodes, cpus
        self.folder = tempfile.mkdtemp(prefix="lumenara-slurm-", dir="/tmp")
        self.processes = {}

    # The daemons of one machine talk by these names: node0, node1 ... at the loopback.
    def write_configuration(self):
        user = pwd.getpwuid(os.getuid()).pw_name
        control, *ports = free_ports(1 + self.nodes)
        lines = [
            "ClusterName=lumenara",
            f"SlurmctldHost={socket.gethostname()}(127.0.0.1)",
            f"SlurmUser={user}", f"SlurmdUser={user}",
            f"SlurmctldPort={control}",
            "AuthType=auth/munge", f"AuthInfo=socket={self.munge_socket}",
            "CryptoType=crypto/munge", "MpiDefault=none",
            "ProctrackType=proctrack/linuxproc", "TaskPlugin=task/none",
            "SelectType=select/cons_tres", "SelectTypeParameters=CR_Core",
            "JobAcctGatherType=jobacct_gather/none", "AccountingStorageType=accounting_storage/none",
            "JobCompType=jobcomp/none", "SwitchType=switch/none",
            "ReturnToService=2", "SlurmdTimeout=300", "InactiveLimit=0", "KillWait=5", "MinJobAge=300",
            "SchedulerParameters=sched_interval=1,sched_min_interval=0,batch_sched_delay=0,defer_batch=0,"
            "bf_interval=1",
            "MaxArraySize=2001",
            f"StateSaveLocation={self.folder}/state",
            f"SlurmdSpoolDir={self.folder}/spool-%n",
            f"SlurmctldPidFile={self.folder}/slurmctld.pid", f"SlurmdPidFile={self.folder}/slurmd-%n.pid",
            f"SlurmctldLogFile={self.folder}/slurmctld.log", f"SlurmdLogFile={self.folder}/slurmd-%n.log",
        ]
        for number, port in enumerate(ports):
            lines.append(f"NodeName=node{number} NodeHostname={socket.gethostname()} NodeAddr=127.0.0.1 "
                         f"Port={port} CPUs={self.cpus} RealMemory=1000 State=UNKNOWN")
            os.makedirs(f"{self.folder}/spool-node{number}", exist_ok=True)
        lines.append(f"PartitionName=main Nodes=node[0-{self.nodes - 1}] Default=YES MaxTime=INFINITE State=UP")
        os.makedirs(f"{self.folder}/state", exist_ok=True)
        with open(f"{self.folder}/slurm.conf", "w") as file:
            file.write("\n".join(lines) + "\n")

    @property
    def munge_socket(self):
        return f"{self.folder}/munge/munge.socket"

    def environment(self):
        return dict(os.environ, SLURM_CONF=f"{self.folder}/slurm.conf")

    def start(self, name, arguments):
        log = open(f"{self.folder}/{name}.out", "w")
        self.processes[name] = subprocess.Popen(arguments, env=self.environment(), stdin=subprocess.DEVNULL,
                                                stdout=log, stderr=log, start_new_session=True)

    def start_munge(self):
        os.chmod(self.folder, 0o755)
        place = f"{self.folder}/munge"
        os.makedirs(place)
        key = f"{place}/munge.key"
        with open(key, "wb") as file:
            file.write(os.urandom(128))
        os.chmod(key, 0o400)
        self.start("munged", [find_program("munged"), "--foreground", "--force", f"--socket={self.munge_socket}",
                              f"--key-file={key}", f"--pid-file={place}/munged.pid", f"--log-file={place}/munged.log",
                              f"--seed-file={place}/munged.seed", "--num-threads=2"])
        self.wait_for(lambda: os.path.exists(self.munge_socket), "munged")

    def wait_for(self, done, what, seconds=60):
        limit = time.monotonic() + seconds
        while not done():
            dead = [name for name, one in self.processes.items() if one.poll() is not None]
            if dead or time.monotonic() > limit:
                raise RuntimeError(f"{what} did not come up; ended: {dead}\n{self.logs()}")
            time.sleep(0.05)

    def logs(self):
        text = ""
        for name in sorted(os.listdir(self.folder)):
            if name.endswith((".log", ".out")):
                with open(f"{self.folder}/{name}", errors="replace") as file:
                    text += f"---- {name}\n" + file.read()[-3000:]
        return text

    def run(self, arguments, check=True):
        result = subprocess.run(arguments, env=self.environment(), capture_output=True, text=True, timeout=60)
        if check and result.returncode != 0:
            raise RuntimeError(f"{arguments}: {result.stdout}{result.stderr}")
        return result.stdout

    def idle_nodes(self):
        return self.run(["sinfo", "--noheader", "--Node", "--format=%t"], check=False).split().count("idle")

    def __enter__(self):
        try:
            self.start_munge()
            self.write_configuration()
            configuration = f"{self.folder}/slurm.conf"
            self.start("slurmctld", [find_program("slurmctld"), "-D", "-i", "-f", configuration])
            for number in range(self.nodes):
                self.start(f"slurmd{number}",
                           [find_program("slurmd"), "-D", "-N", f"node{number}", "-f", configuration])
            self.wait_for(lambda: self.idle_nodes() == self.nodes, "the cluster")
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        if "slurmctld" in self.processes:
            subprocess.run(["scancel", "--full", "--user", pwd.getpwuid(os.getuid()).pw_name],
                           env=self.environment(), capture_output=True, timeout=30, check=False)
        for name in reversed(list(self.processes)):
            process = self.processes[name]
            for request in (signal.SIGTERM, signal.SIGKILL):
                try:
                    os.killpg(process.pid, request)
                    process.wait(15)
                    break
                except (ProcessLookupError, subprocess.TimeoutExpired):
                    continue
            process.wait()
        self.kill_steps()
        shutil.rmtree(self.folder, ignore_errors=True)

    def kill_steps(self):
        """Daemons of running tasks leave the process group; they are told by our configuration's folder."""
        for name in os.listdir("/proc"):
            if not name.isdigit() or int(name) == os.getpid():
                continue
            try:
                with open(f"/proc/{name}/environ", "rb") as file:
                    ours = f"SLURM_CONF={self.folder}/".encode() in file.read()
                if ours:
                    os.kill(int(name), signal.SIGKILL)
            except OSError:
                continue

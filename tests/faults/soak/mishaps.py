"""What goes wrong in a soak. Each mishap makes one fault, heals it, and returns when the bridge should be well again."""

import signal
import time

import bridges
from control import Control

from quillbay_lab import LabError, wait_until

_RECOVERY_SECONDS = 40


class Mishaps:
    """Of one lab with a running agent; one after the other. `chance` decides which and how."""

    def __init__(self, lab, phone, agent, disk, chance):
        self._lab, self._phone, self._agent, self._disk, self._chance = lab, phone, agent, disk, chance
        self.address = lab.mac.address("en0")

    def next(self):
        """The name of one, and the function that makes it. Every one comes once before any comes again."""
        names = [name for name in sorted(vars(type(self))) if name.startswith("the_")]
        while True:
            self._chance.shuffle(names)
            for name in names:
                yield name.replace("_", " "), getattr(self, name)

    def await_recovery(self):
        """Waits until the bridge is up, with one registration and its record. Raises `LabError` when it is not."""
        def well():
            try:
                with Control(self._lab.mac) as control:
                    return control.profile()["status"]["state"] == "on"
            except OSError:
                return False

        wait_until(well, _RECOVERY_SECONDS, "the bridge is active again")
        wait_until(lambda: len(bridges.registrations(self._lab.mac)) == 1, 5, "there is one registration")
        bridges.await_record(self._lab, self._phone, 15, self.address)

    def _pause(self, least, most):
        time.sleep(self._chance.uniform(least, most))

    def _ask(self, command, **arguments):
        with Control(self._lab.mac) as control:
            return control.ask(command, **arguments)

    def the_mesh_is_cut(self):
        self._lab.mesh_down()
        self._pause(0.5, 5)
        self._lab.mesh_up()

    def the_address_changes(self):
        for _ in range(self._chance.randrange(1, 6)):
            self.address = f"192.168.77.{self._chance.randrange(10, 250)}"
            self._lab.set_address(self._lab.mac, "en0", self.address)
        wait_until(lambda: len(self._lab.mac.listening(self.address)) >= bridges.LISTENERS, 20, "the relays follow")

    def the_agent_is_killed(self):
        self._agent.process.signal(signal.SIGKILL)
        self._agent.process.wait(5)
        self._agent.start()
        self._agent.await_user_line(bridges.SUCCESS, 30)

    def the_agent_is_ended_and_started(self):
        if self._agent.stop() != 0:
            raise LabError("the agent has not ended with 0")
        self._agent.start()
        self._agent.await_user_line(bridges.SUCCESS, 30)

    def the_agent_sleeps(self):
        self._agent.process.signal(signal.SIGSTOP)
        self._pause(0.5, 5)
        self._agent.process.signal(signal.SIGCONT)

    def the_bridge_is_stopped_and_started(self):
        self._ask("stop", profile=self._phone.host)
        self._pause(0, 1)
        self._ask("start", profile=self._phone.host)

    def the_phone_refuses_for_a_while(self):
        self._phone.tell("refuse")
        self._pause(0.5, 3)
        self._phone.tell("normal")

    def the_phone_stalls_for_a_while(self):
        self._phone.tell("stall")
        self._pause(0.5, 3)
        self._phone.tell("normal")

    def the_phone_moves_to_another_port(self):
        self._phone.tell(f"move {self._chance.randrange(49200, 50200)}")
        self._ask("start", profile=self._phone.host)

    def the_disk_is_full_for_a_while(self):
        self._disk.fill()
        answer = self._ask("rename", profile=self._phone.host, name="never kept")
        self._pause(0, 2)
        self._disk.heal()
        if "error" not in answer:
            raise LabError(f"a full disk has kept a name: {answer}")

    def the_system_log_floods(self):
        lines = "Got tunnel endpoint: 'fd12::1:55001'\n" + "x" * 500 + "\n"
        self._lab.mac.run(["systemd-cat", "--identifier=remotepairingd"], input_text=lines * 5000, check=True)

    def the_control_socket_is_misused(self):
        for _ in range(50):
            with Control(self._lab.mac) as control:
                control.send(*[{"command": self._chance.choice(("status", "log", "no such"))}] * 20)

    def the_name_service_restarts(self):
        self._lab.restart_avahi(self._lab.mac)

    def the_crowd_connects_and_says_nothing(self):
        host = self._chance.choice((self._lab.mac, self._lab.desk))
        crowd = host.spawn(["/usr/bin/python3", "-c", _CROWD, self.address, 300])
        self._pause(0.5, 3)
        crowd.signal(signal.SIGKILL)
        crowd.wait(5)


_CROWD = """
import socket, sys, time
held = [socket.create_connection((sys.argv[1], 55000 + number % 10), 5) for number in range(int(sys.argv[2]))]
time.sleep(60)
"""

"""Carries out the plan: makes one call after the other fail, and looks at what comes of it."""

import time

import resources
from sweep_stage import BOOT, END, START, STOP, TRAFFIC
from sweep_verdict import Collected, complaints_about, require_sound

from quillbay_lab import LabError
from quillbay_lab.lab import MAC_ADDRESS

ATTEMPTS = 3


class Sweeper:
    """Carries out cases in one stage. Complaints are sentences; none is what is wanted."""

    def __init__(self, stage):
        self._stage = stage
        self._before = None

    def carry_out(self, case):
        """(met, complaints)."""
        run = {BOOT: self._at_boot, END: self._at_end}.get(case.phase, self._in_cycle)
        for _ in range(ATTEMPTS):
            try:
                complaints = run(case)
            except (LabError, OSError, ValueError) as error:
                complaints = [str(error)]
            met = self._stage.injection.fired > 0
            self._stage.injection.disarm()
            if complaints:
                self._start_over()
                complaints += self._stage.new_errors()
                return met, complaints
            if met:
                return True, []
        return False, []

    def _in_cycle(self, case):
        self._running()
        stage, complaints = self._stage, []
        log = Collected(stage)
        if case.phase == START:
            self._arm(case)
        seen = stage.start()
        if case.phase == TRAFFIC:
            self._arm(case)
            # What the fault hits may be lost; what comes after it may not.
            stage.dead_ports()
        complaints += complaints_about(stage, seen, log, case if case.phase == START else None)
        if case.phase == STOP:
            self._arm(case)
        stage.stop()
        self._await_fault(0.3)
        stage.injection.disarm()
        if complaints:
            return complaints
        complaints = complaints_about(stage, stage.start())
        stage.stop()
        resources.returns_to(stage.mac, stage.agent.process.pid, self._before, 5)
        return [f"the next start: {text}" for text in complaints] + stage.new_errors()

    def _at_boot(self, case):
        self._not_running()
        stage = self._stage
        log = Collected(stage)
        stage.launch(True)
        self._arm(case)
        if not stage.connect():
            return self._refusal(stage) + self._clean_run()
        complaints = complaints_about(stage, stage.settled(), log, case)
        self._await_fault(0.5)
        code = stage.end()
        if code != 0:
            complaints.append(f"the agent ended with {code}")
        return complaints + stage.new_errors() + self._clean_run()

    def _at_end(self, case):
        self._not_running()
        stage = self._stage
        stage.launch(True)
        if not stage.connect():
            return stage.new_errors()
        complaints = complaints_about(stage, stage.settled())
        self._arm(case)
        code = stage.end()
        if code != 0:
            complaints.append(f"the agent ended with {code}")
        if stage.mac.listening(MAC_ADDRESS):
            complaints.append("ports are still open")
        return complaints + stage.new_errors() + self._clean_run()

    @staticmethod
    def _refusal(stage):
        """A program that cannot start says why, in one line, and ends with status 1."""
        code = stage.agent.process.wait(1)
        lines = stage.new_errors()
        stage.await_nothing_left()
        if code != 1 or len(lines) != 1 or not lines[0].startswith("quillbay-agent: "):
            return [f"the agent ended with {code}, saying {lines}"]
        return []

    def _clean_run(self):
        stage = self._stage
        stage.injection.disarm()
        stage.launch(True)
        if not stage.connect():
            return [f"the next start: {stage.new_errors()}"]
        complaints = complaints_about(stage, stage.settled())
        code = stage.end()
        if code != 0:
            complaints.append(f"ended with {code}")
        return [f"the next start: {text}" for text in complaints]

    def _arm(self, case):
        self._stage.injection.fail(case.site, case.code, first=case.first)

    def _await_fault(self, limit_seconds):
        """Some of what a command begins is carried out later."""
        deadline = time.monotonic() + limit_seconds
        while not self._stage.injection.fired and time.monotonic() < deadline:
            time.sleep(0.01)

    def _running(self):
        """An agent without a bridge, which has had one."""
        stage = self._stage
        if self._before is not None and stage.agent.process is not None and stage.alive:
            return
        self._not_running()
        stage.launch(False)
        if not stage.connect():
            raise LabError(f"the agent does not start: {stage.new_errors()}")
        for _ in range(2):
            require_sound(stage, stage.start())
            stage.stop()
            self._before = stage.await_quiet()

    def _not_running(self):
        if self._before is None:
            return
        self._before = None
        if self._stage.alive and self._stage.end() != 0:
            raise LabError("the agent did not end well")

    def _start_over(self):
        """After a complaint: whatever it was is not the next case's."""
        stage = self._stage
        stage.disconnect()
        if stage.agent.process is not None and stage.alive:
            stage.agent.process.end(1)
        stage.clear_leftovers()
        self._before = None

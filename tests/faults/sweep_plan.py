"""What there is to be made to fail: every call site that an undisturbed run comes by, with every error that can be."""

from dataclasses import dataclass

from callsites import Symbols, calls_in, describe, reached
from errnos import ERRNOS, NEVER_FAILS, name_of
from expectations import left_out
from sweep_stage import BOOT, END, IDLE, START, STOP, TRAFFIC
from sweep_verdict import require_sound

from quillbay_lab import LabError, programs

PHASE_NAMES = {BOOT: "the agent starts", START: "a bridge starts", TRAFFIC: "traffic", STOP: "a bridge stops",
               END: "the agent ends"}
_RECORDED_CYCLES = 4


@dataclass(frozen=True)
class Case:
    """One fault: which call of which site fails with what, and when it is armed."""

    site: object
    label: str
    phase: int
    code: int
    first: int

    def __str__(self):
        which = f", after {self.first} calls" if self.first else ""
        return f"{self.label} | {name_of(self.code)}{which} | while {PHASE_NAMES[self.phase]}"


@dataclass
class Map:
    """What an undisturbed run has shown."""

    sites: list
    labels: dict
    # The program's own calls, by the address behind them: all, and those that were come by.
    calls: dict
    reached: set
    symbols: Symbols


def record(stage):
    """Runs a start, some cycles and an end without a fault, and writes down every call."""
    injection = stage.injection
    injection.enter_phase(BOOT)
    stage.launch(True)
    if not stage.connect():
        raise LabError(f"the agent does not start: {stage.new_errors()}")
    require_sound(stage, stage.settled())
    # The search for a newer version and the like.
    stage.await_quiet()
    stage.stop()
    stage.await_quiet()
    for _ in range(_RECORDED_CYCLES):
        injection.enter_phase(START)
        seen = stage.start()
        stage.await_quiet()
        injection.enter_phase(TRAFFIC)
        require_sound(stage, seen)
        injection.enter_phase(STOP)
        stage.stop()
        stage.await_quiet()
    injection.enter_phase(IDLE)
    stage.start()
    injection.enter_phase(END)
    if stage.end() != 0 or injection.lost:
        raise LabError(f"the agent did not end well, or {injection.lost} calls found no place")
    sites = injection.sites()
    symbols = Symbols(programs.AGENT)
    program = injection.module_of_program()
    symbols.learn({offset for site in sites for module, offset in site.frames if module == program})
    labels = {site.id: describe(site, injection, symbols) for site in sites}
    calls = calls_in(programs.AGENT, set(ERRNOS))
    symbols.learn(calls)
    return Map(sites, labels, calls, reached(calls, sites, program), symbols)


def plan(recorded):
    """Every fault for every site, and the pairs of site and error that are left out with the reason."""
    cases, omitted = [], []
    for site in recorded.sites:
        label = recorded.labels[site.id]
        phase = next((phase for phase in (START, TRAFFIC, STOP) if site.counts[phase]), None)
        if phase is None:
            phase = BOOT if site.counts[BOOT] else END
        if not site.counts[phase]:
            continue
        if site.function in NEVER_FAILS:
            omitted.append((label, "every error", NEVER_FAILS[site.function]))
            continue
        kept = []
        for code in ERRNOS[site.function]:
            reason = left_out(label, code)
            if reason:
                omitted.append((label, name_of(code), reason))
            else:
                kept.append(code)
        cases += [Case(site, label, phase, code, 0) for code in kept]
        calls = site.counts[phase] // (_RECORDED_CYCLES if phase in (START, TRAFFIC, STOP) else 1)
        # Of many calls of one site, one in the middle and the last as well.
        cases += [Case(site, label, phase, kept[0], first) for first in sorted({calls // 2, calls - 1})
                  if kept and first > 0]
    return cases, omitted

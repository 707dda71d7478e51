"""What a bridge may say when a call fails on its way up, and which errors are left out of the sweep."""

from errno import EAGAIN, EDQUOT, EFBIG, EIO, ENOSPC, EPERM, EPIPE

_BUSY = "A required local port is busy. Try again, or restart Quillbay."
_NO_ADDRESS = "Couldn't determine this Mac's network address."

# The sentence, and what the call site has to be part of for it. All else that fails is made up for, or costs no more than
# what the log then names.
ERROR_SENTENCES = {
    # The record is what a bridge is for; without the program that announces it there is none.
    # Nothing can begin without a thread to do it.
    _BUSY: ("DNSServiceProxy::start", "pthread_create: libstdc++ < BackgroundWork::run"),
    _NO_ADDRESS: ("currentIPv4Address",),
}

_NEVER_WAITS = "a pipe or counter of the program's own, with room, that never waits: it knows none of these errors"
_NO_MEMORY_NEEDED = "changes an entry that is there, for which the system takes no memory"
_NOT_LOOKED_AT = ("the library does not look at the result, and a loop that cannot be woken is the consequence; only a system "
                  "without any memory refuses this call, which comes once for each loop, at the start")
_EVERY = None

# (part of the call site's line, errors, why)
_LEFT_OUT = [
    ("epoll_ctl: asio::epoll_reactor::interrupt", _EVERY, _NO_MEMORY_NEEDED),
    ("epoll_ctl: asio::epoll_reactor::start_op", _EVERY, _NO_MEMORY_NEEDED),
    ("epoll_ctl: asio::epoll_reactor::epoll_reactor", _EVERY, _NOT_LOOKED_AT),
    ("epoll_ctl: asio::epoll_reactor::register_internal_descriptor", _EVERY, _NOT_LOOKED_AT),
    ("in quillbayWatchChild", (EAGAIN, EDQUOT, EFBIG, EIO, ENOSPC, EPERM, EPIPE), _NEVER_WAITS),
    ("write: boost_asio_signal_handler", _EVERY, _NEVER_WAITS),
    ("read: asio::signal_set_service::pipe_read_op", _EVERY, _NEVER_WAITS),
    ("write: asio::eventfd_select_interrupter", _EVERY, _NEVER_WAITS),
    ("read: asio::eventfd_select_interrupter", _EVERY, _NEVER_WAITS),
    ("fcntl: asio::", _EVERY, "sets a flag of a pipe of the program's own, which nothing can refuse"),
    (": asio::", (EAGAIN,), "the library waits for the readiness that the system promises with this answer, and that a "
                            "refusal made here does not bring"),
]


def sentence_expected(label, sentence):
    """Whether a bridge may fail with this sentence when a call at this site fails."""
    return any(part in label for part in ERROR_SENTENCES.get(sentence, ()))


def left_out(label, code):
    """Why this error is not tried at this site; nothing when it is."""
    return next((reason for part, codes, reason in _LEFT_OUT if part in label and (codes is _EVERY or code in codes)), None)


# What the program contains and never calls on the way from its start over a bridge to its end: (part of the place, why).
_NOT_REACHED = [
    ("DesktopPortal", "mails and folders, which a person asks for"),
    ("SessionBus", "mails and folders, which a person asks for"),
    ("DiagnosticsArchive", "the report, which a person asks for"),
    ("requireFileName", "the report, which a person asks for"),
    ("computerName", "the report, which a person asks for"),
    ("operatingSystemVersion", "the report, which a person asks for"),
    ("BonjourCapture", "the discovery of phones, which a question begins"),
    ("LocalHostPresenceCheck", "the question to the network, asked where there are no developer tools"),
    ("multicastIPv4Addresses", "the question to the network, asked where there are no developer tools"),
    ("StopPipe", "the question to the network, asked where there are no developer tools"),
    ("InterfaceChanges::State::listenAndPrompt", "a change of the computer's address"),
    ("RelayListener::admits", "the setting that lets only this computer in, which is off"),
    ("RelayListener::mayStay", "the setting that lets only this computer in, which is off"),
    ("ChildProcess::terminateAndWait", "a child that does not end when it is asked"),
    ("ChildProcess::terminate ", "a child that does not end when it is asked"),
    ("spawnChild", "a child that could not be started"),
    ("_Prepare_execution ChildSpawn", "a program that was started with SIGCHLD ignored"),
    ("_M_invoke RunToEnd", "a tool that is given up while it runs"),
    ("aboveStandard", "a program that was started without its standard descriptors"),
    ("SocketAddress::numeric", "an address of IPv6"),
    ("makeDirectories", "a folder that is not there yet"),
    ("TCPPair::cancel", "connections that are cut off, by the end of a bridge or by a client"),
    ("receivingIsShutDown", "connections that are cut off, by the end of a bridge or by a client"),
    ("sendDatagrams", "datagrams that come faster than one by one"),
    ("ProbeAttempt::closeSocket", "the scan of a phone's ports"),
    ("listenLocal", "another agent that runs, or has been killed"),
    ("boundPort", "tests"),
    ("originalDescriptorLimit", "a limit of descriptors that is not the largest already"),
    ("DNSServiceProxy", "a registration that an earlier run has left"),
    ("InstanceLock", "another agent that runs, or has been killed"),
    ("ControlServer", "another agent that runs, or has been killed"),
    ("connectLocal", "another program's side of the control socket"),
    ("TemporarySibling", "a file that could not be written, or that an earlier run has left"),
    ("removeIfLeftOver", "a file that could not be written, or that an earlier run has left"),
    ("ScratchFolder", "a folder that an earlier run has left, or that could not be made"),
    ("lockedOwn", "a folder that an earlier run has left, or that could not be made"),
    ("LogFile::write", "a log that is full, or a disk that is"),
    ("getpwuid_r", "a user without HOME"),
    ("homeDirectory", "a user without HOME"),
    ("runtimeDirectory", "a user without a runtime directory"),
    ("raiseDescriptorLimit", "a limit of descriptors that is not the largest already"),
    ("closeOnExecFrom", "a system without close_range"),
    ("PlainStreamMover", "the plain twin of a fast path"),
    ("plain::", "the plain twin of a fast path"),
    ("asio::", "parts of the library that are not used, or not on this way"),
    ("this_thread", "parts of the library that are not used, or not on this way"),
    ("UniqueDescriptor::reset", "a descriptor that is given back while an error unwinds what held it"),
]


def reason_not_reached(place):
    """Why a call at this place is not come by; nothing when it should be."""
    return next((reason for part, reason in _NOT_REACHED if part in place), None)

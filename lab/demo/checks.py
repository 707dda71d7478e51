"""How a step says that something is not as it should be."""


class NotSeen(Exception):
    """A step that did not show what it should; carries what was expected and what came."""

    def __init__(self, expected, came):
        super().__init__(f"expected {expected}, came {came}")
        self.expected, self.came = expected, came


def expect_equal(what, expected, came):
    if expected != came:
        raise NotSeen(f"{what} {expected!r}", repr(came))

"""What goes wrong in the lab itself, as opposed to in what it tests."""


class LabError(Exception):
    """The lab cannot do what it was asked; the text says what is missing."""

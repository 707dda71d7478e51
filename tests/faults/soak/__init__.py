"""Mixed traffic and faults for many minutes (script/soak). Start at `__main__.py`."""

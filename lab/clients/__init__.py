"""Clients that tests and the demo run inside a host of the lab."""

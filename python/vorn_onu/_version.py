"""The version of the tool that this module goes with."""

VERSION = "0.1.0"

"""The version of this package: that of libqex."""

VERSION = "1.0.0"

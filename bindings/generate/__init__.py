"""Writes what each language needs to know of the C interface from bindings/interface.json: one module a language."""

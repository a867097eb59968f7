"""All settings are in setup.cfg. There is no pyproject.toml, because with one pip downloads setuptools."""

from setuptools import setup

setup()

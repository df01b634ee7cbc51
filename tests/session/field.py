#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Uses a named text field or button of the program over the accessibility bus: field.py NAME text|focus|press"""
import sys
import warnings

import gi

gi.require_version("Atspi", "2.0")
warnings.simplefilter("ignore")
from gi.repository import Atspi  # noqa: E402  pylint: disable=wrong-import-position


def below(node):
    """The node and everything in it."""
    if node:
        yield node
        for index in range(node.get_child_count()):
            yield from below(node.get_child_at_index(index))


def main():
    name, action = sys.argv[1:]
    roles = [Atspi.Role.PUSH_BUTTON] if action == "press" else [Atspi.Role.TEXT, Atspi.Role.ENTRY]
    root = Atspi.get_desktop(0)
    programs = [root.get_child_at_index(index) for index in range(root.get_child_count())]
    for node in (node for program in programs if program and program.get_name() == "kestrune-bar"
                 for node in below(program) if node.get_name() == name and node.get_role() in roles):
        if action == "press":
            print(Atspi.Action.do_action(node.get_action_iface(), 0))
        elif action == "focus":
            print(Atspi.Component.grab_focus(node.get_component_iface()))
        else:
            print(Atspi.Text.get_text(node.get_text_iface(), 0, -1))
        return


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reads a text field of a program over the accessibility bus or gives it the focus, or presses a button.

Usage: field.py APPLICATION NAME text|focus|press
"""
import sys
import warnings

import gi

gi.require_version("Atspi", "2.0")
warnings.simplefilter("ignore")
from gi.repository import Atspi  # noqa: E402  pylint: disable=wrong-import-position


ROLES = {False: (Atspi.Role.TEXT, Atspi.Role.ENTRY), True: (Atspi.Role.PUSH_BUTTON,)}


def nodes(node):
    yield node
    for index in range(node.get_child_count()):
        child = node.get_child_at_index(index)
        if child:
            yield from nodes(child)


def main():
    application, name, action = sys.argv[1:]
    root = Atspi.get_desktop(0)
    for index in range(root.get_child_count()):
        program = root.get_child_at_index(index)
        if not program or program.get_name() != application:
            continue
        for node in nodes(program):
            if node.get_name() != name or node.get_role() not in ROLES[action == "press"]:
                continue
            if action == "press":
                print("pressed" if Atspi.Action.do_action(node.get_action_iface(), 0) else "refused")
            elif action == "focus":
                print("focused" if Atspi.Component.grab_focus(node.get_component_iface()) else "refused")
            else:
                print(Atspi.Text.get_text(node.get_text_iface(), 0, -1))
            return 0
    return 1


if __name__ == "__main__":
    sys.exit(main())

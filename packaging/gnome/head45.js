// SPDX-License-Identifier: MIT
// Kestrune Bar in GNOME Shell 45 and later.
import Clutter from 'gi://Clutter';
import Gio from 'gi://Gio';
import GLib from 'gi://GLib';
import GObject from 'gi://GObject';
import St from 'gi://St';

import {Extension} from 'resource:///org/gnome/shell/extensions/extension.js';
import * as Main from 'resource:///org/gnome/shell/ui/main.js';
import * as PanelMenu from 'resource:///org/gnome/shell/ui/panelMenu.js';
import * as PopupMenu from 'resource:///org/gnome/shell/ui/popupMenu.js';

export default class KestruneBarExtension extends Extension {
    enable() {
        this._item = new BarItem();
        Main.panel.addToStatusArea('kestrune-bar', this._item, 1, 'center');
    }

    disable() {
        this._item.destroy();
        this._item = null;
    }
}

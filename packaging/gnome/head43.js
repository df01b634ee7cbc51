// SPDX-License-Identifier: MIT
// Kestrune Bar in GNOME Shell 43 and 44.
/* exported init, enable, disable */
const {Clutter, Gio, GLib, GObject, St} = imports.gi;
const Main = imports.ui.main;
const PanelMenu = imports.ui.panelMenu;
const PopupMenu = imports.ui.popupMenu;

let item = null;

function init() {
}

function enable() {
    item = new BarItem();
    Main.panel.addToStatusArea('kestrune-bar', item, 1, 'center');
}

function disable() {
    item.destroy();
    item = null;
}

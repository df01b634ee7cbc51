
// What the running program offers on the session's bus: docs/dbus.md of its sources.
const BAR = 'org.kestrune.bar';
const SHELL = 'org.kestrune.bar.Shell'; // who owns it shows the item in the program's place
const OBJECT = '/org/kestrune/Bar1';
const INTERFACE = 'org.kestrune.Bar1';
const MENU_OBJECT = `${OBJECT}/Menu`;
const MENU = 'com.canonical.dbusmenu';
const PULSE_MS = 600;

/** Light and text of the running program; hidden while it does not run. */
const BarItem = GObject.registerClass(
class KestruneBarItem extends PanelMenu.Button {
    _init() {
        super._init(0.5, 'Kestrune Bar');
        this._light = new St.Label({text: '●', style_class: 'kestrune-bar-light',
            y_align: Clutter.ActorAlign.CENTER});
        this._text = new St.Label({style_class: 'kestrune-bar-text', y_align: Clutter.ActorAlign.CENTER});
        this._box = new St.BoxLayout({style_class: 'kestrune-bar'});
        this._box.add_child(this._light);
        this._box.add_child(this._text);
        this.add_child(this._box);
        this.hide();

        this._pulse = 0;
        this._cancellable = new Gio.Cancellable();
        this._signals = [
            [INTERFACE, 'Changed', OBJECT, () => this._read()],
            [MENU, 'LayoutUpdated', MENU_OBJECT, () => this._fillMenu()],
        ].map(([iface, signal, object, heard]) => Gio.DBus.session.signal_subscribe(
            BAR, iface, signal, object, null, Gio.DBusSignalFlags.NONE, heard));
        this._name = Gio.bus_own_name(Gio.BusType.SESSION, SHELL, Gio.BusNameOwnerFlags.NONE, null, null, null);
        this._watch = Gio.bus_watch_name(Gio.BusType.SESSION, BAR, Gio.BusNameWatcherFlags.NONE, () => this._read(),
            () => this._gone());
        // The desktop's ground takes no focus: the panel hears nothing of a click there.
        this._ground = Main.layoutManager._backgroundGroup;
        this._ground.reactive = true;
        this._onGround = this._ground.connect('captured-event', (_, event) => {
            if ([Clutter.EventType.BUTTON_PRESS, Clutter.EventType.TOUCH_BEGIN].includes(event.type()))
                this._call(OBJECT, INTERFACE, 'Close', null);
            return Clutter.EVENT_PROPAGATE;
        });
        this.connect('destroy', () => this._stop());
    }

    _stop() {
        this._cancellable.cancel();
        this._setPulsing(false);
        this._ground.disconnect(this._onGround);
        this._ground.reactive = false;
        Gio.bus_unwatch_name(this._watch);
        Gio.bus_unown_name(this._name);
        this._signals.forEach(id => Gio.DBus.session.signal_unsubscribe(id));
    }

    _gone() {
        this._setPulsing(false);
        this.menu.close();
        this.hide();
    }

    /** Never starts the program; `answered` gets the unpacked answer, and nothing comes of a failure. */
    _call(object, iface, method, parameters, answered = null) {
        Gio.DBus.session.call(BAR, object, iface, method, parameters, null, Gio.DBusCallFlags.NO_AUTO_START, -1,
            this._cancellable, (bus, result) => {
                let answer = null;
                try {
                    answer = bus.call_finish(result).recursiveUnpack();
                } catch {
                    return; // the program is ending, or is not ready and tells when it is
                }
                answered?.(answer);
            });
    }

    _read() {
        this._call(OBJECT, 'org.freedesktop.DBus.Properties', 'Get',
            new GLib.Variant('(ss)', [INTERFACE, 'Json']), ([json]) => this._show(JSON.parse(json)));
    }

    _show({text, tooltip, states}) {
        if (!this.visible) // the name comes before the objects
            this._fillMenu();
        this._text.text = text;
        this._light.text = states.includes('stale') ? '○' : '●';
        for (const state of ['buy', 'sell'])
            this._setClass(this._light, state, states.includes(state));
        this._setClass(this._box, 'stale', states.includes('stale'));
        this._setPulsing(states.includes('alert'));
        this.accessible_name = tooltip.replaceAll('\n', ', ');
        this.show();
    }

    _setClass(actor, name, on) {
        if (on)
            actor.add_style_class_name(name);
        else
            actor.remove_style_class_name(name);
    }

    _setPulsing(on) {
        if (on === this._pulse > 0)
            return;
        if (on) {
            this._box.add_style_class_name('pulse');
            this._pulse = GLib.timeout_add(GLib.PRIORITY_DEFAULT, PULSE_MS, () => {
                this._setClass(this._box, 'pulse', !this._box.has_style_class_name('pulse'));
                return GLib.SOURCE_CONTINUE;
            });
        } else {
            GLib.source_remove(this._pulse);
            this._pulse = 0;
            this._box.remove_style_class_name('pulse');
        }
    }

    _fillMenu() {
        this._call(MENU_OBJECT, MENU, 'GetLayout', new GLib.Variant('(iias)', [0, -1, []]), ([, [, , entries]]) => {
            this.menu.removeAll();
            for (const [id, properties] of entries)
                this.menu.addMenuItem(this._menuEntry(id, properties));
        });
    }

    _menuEntry(id, {type, label, enabled, 'toggle-state': checked}) {
        if (type === 'separator')
            return new PopupMenu.PopupSeparatorMenuItem();
        const entry = new PopupMenu.PopupMenuItem(label.replaceAll('__', '_'), {reactive: enabled});
        if (checked !== undefined)
            entry.setOrnament(checked ? PopupMenu.Ornament.CHECK : PopupMenu.Ornament.NONE);
        entry.connect('activate', () => this._call(MENU_OBJECT, MENU, 'Event',
            new GLib.Variant('(isvu)', [id, 'clicked', new GLib.Variant('s', ''), 0])));
        return entry;
    }

    /** Under the middle of the item. */
    _openPanel() {
        const [x, y] = this.get_transformed_position();
        const [width, height] = this.get_transformed_size();
        this._call(OBJECT, INTERFACE, 'Open',
            new GLib.Variant('(ii)', [Math.round(x + width / 2), Math.round(y + height)]));
    }

    vfunc_event(event) {
        const type = event.type();
        if (type === Clutter.EventType.SCROLL) {
            const way = {[Clutter.ScrollDirection.UP]: 'Previous', [Clutter.ScrollDirection.DOWN]: 'Next'};
            if (way[event.get_scroll_direction()])
                this._call(OBJECT, INTERFACE, way[event.get_scroll_direction()], null);
            return Clutter.EVENT_STOP;
        }
        if (type === Clutter.EventType.TOUCH_BEGIN ||
            type === Clutter.EventType.BUTTON_PRESS && event.get_button() === Clutter.BUTTON_PRIMARY) {
            if (this.menu.isOpen)
                this.menu.close();
            else
                this._openPanel();
            return Clutter.EVENT_STOP;
        }
        if (type === Clutter.EventType.BUTTON_PRESS) // its marks are of now, a refill follows what has changed
            this._call(MENU_OBJECT, MENU, 'AboutToShow', new GLib.Variant('(i)', [0]));
        return super.vfunc_event(event);
    }
});

// SPDX-License-Identifier: MIT
// The applet in Plasma 5.27.
import QtQuick 2.15
import org.kde.plasma.core 2.0 as PlasmaCore
import org.kde.plasma.plasmoid 2.0

Item {
    id: root

    property var record: null

    Plasmoid.preferredRepresentation: Plasmoid.fullRepresentation
    Plasmoid.fullRepresentation: Line {
        record: root.record
        textColor: PlasmaCore.Theme.textColor
        font: PlasmaCore.Theme.defaultFont
        onCommand: words => commands.connectSource(words)
    }

    // The engine hands over what a command has printed when it ends: at first the line of this moment, then that of
    // the next change, which is when the command starts again.
    PlasmaCore.DataSource {
        id: feed
        readonly property string now: "kestrune-bar --print json"
        readonly property string change: "kestrune-bar --watch json | head -n 2"
        engine: "executable"
        connectedSources: [now]
        onNewData: (source, data) => {
            disconnectSource(source);
            const line = data["stdout"].trim().split("\n").pop();
            if (line)
                root.record = JSON.parse(line);
            again.interval = line ? 1 : 5000; // it may not be installed yet
            again.start();
        }
    }
    Timer {
        id: again
        onTriggered: feed.connectSource(root.record ? feed.change : feed.now)
    }
    PlasmaCore.DataSource {
        id: commands
        engine: "executable"
        onNewData: source => disconnectSource(source)
    }
}

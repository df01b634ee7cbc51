// SPDX-License-Identifier: MIT
// Light and text of the running program, and what hands do to them.
import QtQuick 2.15
import QtQuick.Layouts 1.15
import QtQuick.Window 2.15

Item {
    id: line

    /// What `kestrune-bar --watch json` prints; null before the first line.
    property var record: null
    property color textColor
    property font font
    signal command(string words)

    readonly property var states: record ? record.states : []

    implicitWidth: row.implicitWidth + 12
    implicitHeight: row.implicitHeight
    Layout.minimumWidth: implicitWidth
    Layout.minimumHeight: implicitHeight

    function call(method, parameters) {
        line.command("dbus-send --session --type=method_call --dest=org.kestrune.bar /org/kestrune/Bar1"
                     + " org.kestrune.Bar1." + method + " " + parameters);
    }

    Rectangle {
        anchors.fill: parent
        anchors.margins: 2
        radius: 4
        color: "#ff9f0a"
        opacity: 0
        SequentialAnimation on opacity {
            running: line.states.indexOf("alert") >= 0
            loops: Animation.Infinite
            onStopped: parent.opacity = 0
            NumberAnimation { to: 0.8; duration: 600 }
            NumberAnimation { to: 0; duration: 600 }
        }
    }
    Row {
        id: row
        anchors.centerIn: parent
        spacing: 5
        Rectangle {
            readonly property color light: line.states.indexOf("buy") >= 0 ? "#30d158"
                : line.states.indexOf("sell") >= 0 ? "#ff453a" : "#8e8e93"
            anchors.verticalCenter: parent.verticalCenter
            width: 9
            height: 9
            radius: 4.5
            color: line.states.indexOf("stale") >= 0 ? "transparent" : light
            border.color: light
            border.width: 1.5
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: line.record ? line.record.text : "Kestrune Bar"
            textFormat: Text.PlainText
            color: line.textColor
            font: line.font
            opacity: line.states.indexOf("stale") >= 0 ? 0.6 : 1
        }
    }
    MouseArea {
        anchors.fill: parent
        onClicked: {
            const place = line.mapToGlobal(line.width / 2, line.height / 2);
            line.call("Open", "int32:" + Math.round(place.x * Screen.devicePixelRatio)
                      + " int32:" + Math.round(place.y * Screen.devicePixelRatio));
        }
        onWheel: wheel => line.call(wheel.angleDelta.y > 0 ? "Previous" : "Next", "")
    }
    Accessible.role: Accessible.Button
    Accessible.name: record ? record.tooltip.split("\n").join(", ") : "Kestrune Bar"
}

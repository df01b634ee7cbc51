// SPDX-License-Identifier: MIT
#pragma once

#include "state/appstate.h"

#include <QColor>
#include <QImage>
#include <QString>

#include <memory>

class QIODevice;

namespace kestrune {

class PopoverView;

/// The panel of a headless run: never on any screen, always dark and in its full size.
class SnapshotPicture
{
public:
    SnapshotPicture(std::shared_ptr<AppState> state, const QString &marketNotice);
    SnapshotPicture(const SnapshotPicture &) = delete;
    SnapshotPicture &operator=(const SnapshotPicture &) = delete;
    ~SnapshotPicture();

    static const QColor darkBackdrop;

    /// The panel as it stands now, at twice its size over the backdrop. The same data and the same instant
    /// give the same picture, whatever the desktop's settings. Null when no picture can be made.
    [[nodiscard]] QImage render();

private:
    std::unique_ptr<PopoverView> m_panel;
};

/// The chart of all loaded candles at twice `size`; null without candles of the selection.
[[nodiscard]] QImage chartImage(const AppState &state, const QSize &size, bool light);

/// Writes an image as PNG with its resolution; false when
/// that fails.
[[nodiscard]] bool writePng(const QImage &image, QIODevice &device);

} // namespace kestrune

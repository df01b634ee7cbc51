// SPDX-License-Identifier: MIT
#pragma once

#include <QPointer>
#include <QRect>
#include <QWidget>

namespace kestrune {

class HelpView;

/// Where a sheet of `size` stands: centred over `panel`, kept inside `screen`.
[[nodiscard]] QRect sheetGeometry(const QRect &panel, const QSize &size, const QRect &screen);

/// The usage guide as a popup of its own over the panel, which may be wider than the panel. A click outside
/// closes the sheet and nothing else.
class HelpSheet : public QWidget
{
    Q_OBJECT

public:
    explicit HelpSheet(QWidget *panel);

    void openOver();

Q_SIGNALS:
    void closed();

protected:
    void hideEvent(QHideEvent *event) override;

private:
    HelpView *m_view;
};

} // namespace kestrune

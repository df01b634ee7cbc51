// SPDX-License-Identifier: MIT
#pragma once

#include "panel/panelcontext.h"
#include "viewmodel/alertlines.h"

#include <QWidget>

#include <array>
#include <vector>

namespace kestrune {

class FiredAlertRow;
class TextButton;

/// The alerts of all instruments that ring, newest first, and how many more there are. A row that is
/// acknowledged keeps its place as long as the pointer is here, so that nothing slides under it. Takes no
/// room when there is none.
class FiredAlerts : public QWidget
{
    Q_OBJECT

public:
    static constexpr std::size_t mostRows = 3;

    explicit FiredAlerts(const PanelContext &context, QWidget *parent = nullptr);

    void refresh();
    /// How many rows there is room for, at most `mostRows`.
    void setRoom(std::size_t rows) { m_room = rows; }
    [[nodiscard]] QList<QWidget *> tabStops() const;

Q_SIGNALS:
    void picked(const QString &id); ///< to see its instrument
    void logRequested();
    /// There are more rows or fewer.
    void rowsChanged();

protected:
    bool event(QEvent *event) override;

private:
    struct Shown
    {
        FiredAlertLine line;
        bool rings;
    };

    PanelContext m_context;
    std::size_t m_room = mostRows;
    std::vector<Shown> m_shown;
    std::array<FiredAlertRow *, mostRows> m_rows; // the first of them show
    TextButton *m_more;
};

} // namespace kestrune

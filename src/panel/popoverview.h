// SPDX-License-Identifier: MIT
#pragma once

#include "panel/panelcontext.h"
#include "ui/palette.h"

#include <QCoroTask>
#include <QPointer>
#include <QWidget>

#include <memory>

namespace kestrune {

class AddView;
class AlertLogSection;
class AlertsSection;
class ChartSheet;
class ContextSection;
class FiredAlerts;
class FooterSection;
class HeaderSection;
class HelpView;
class InstrumentsSection;
class ScrollArea;
class SettingsSection;
class Sheet;
class SnapshotSection;
class Toast;
class ZonesSection;

/// The panel under the status item: a view over the state that computes nothing. It follows the state while
/// it shows, all changes of one turn of the event loop in one update, and rests while it is hidden.
class PopoverView : public QWidget
{
    Q_OBJECT

public:
    struct Options
    {
        QString marketNotice; ///< of marketNotice(); empty for the live market
        /// Shows an address in the browser; the desktop's way when not given.
        std::function<void(const QUrl &)> openUrl;
    };

    static constexpr QSize panelSize{panelWidth, 900};

    explicit PopoverView(std::shared_ptr<AppState> state, const Options &options = {},
                         QWidget *parent = nullptr);
    ~PopoverView() override;

    /// The dark or the light palette; dark at first.
    void setDark(bool dark);
    /// Makes the panel lower than its 900 pixels where the screen has less room; the scrolling area gives
    /// way.
    void setMaximumPanelHeight(int height);
    /// Brings every widget up to the state at once, hidden or not.
    void updateNow();

    [[nodiscard]] bool isHelpShown() const;
    void setSettingsExpanded(bool expanded);
    void showToast(const QString &message, bool isError, const QString &action = {},
                   const std::function<void()> &onAction = {});

    [[nodiscard]] QSize sizeHint() const override { return size(); }

Q_SIGNALS:
    /// Escape was pressed in the panel. One that is a window closes by itself; else its window gets the key.
    void closeRequested();

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    [[nodiscard]] QWidget *makeScrolledContent();
    void connectActions();
    void fieldChanged(const PublishedField *field);
    void scheduleUpdate();
    void chooseInstrument(const QString &symbol);
    void chooseAlert(const QString &id);
    void showRequestedAlert();
    void showLog();
    void makeRoomForFired();
    void refreshAll();
    void refreshZones();
    static QCoro::Task<> refreshAndReport(std::shared_ptr<AppState> state, QPointer<PopoverView> view);
    void showHelp();
    void toggleChart();
    void showAdding();
    void takeChosen(MarketSegment segment, const QString &symbol);
    [[nodiscard]] bool takeKey(const QKeyEvent &event);
    void orderTabStops();
    void placeToast();

    std::shared_ptr<AppState> m_state;
    HeaderSection *m_header;
    FiredAlerts *m_fired;
    InstrumentsSection *m_instruments;
    SnapshotSection *m_snapshot;
    ZonesSection *m_zones;
    ContextSection *m_marketContext;
    AlertsSection *m_alerts;
    AlertLogSection *m_alertLog;
    SettingsSection *m_settings;
    FooterSection *m_footer;
    Toast *m_toast;
    ScrollArea *m_area;
    // The sheets, made when they are first asked for.
    Sheet *m_help = nullptr;
    HelpView *m_helpView = nullptr;
    Sheet *m_adding = nullptr;
    AddView *m_addView = nullptr;
    QPointer<ChartSheet> m_chart; ///< while it is open
    bool m_updatePending = false;
    bool m_tabStopsStale = true;
    bool m_refreshing = false; ///< what refreshAll() began is under way
};

} // namespace kestrune

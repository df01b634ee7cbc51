// SPDX-License-Identifier: MIT
#pragma once

#include "panel/panelcontext.h"

#include <QWidget>

#include <functional>
#include <vector>

namespace kestrune {

class Collapsible;
class DisclosureHeader;
class InputField;
class MarketSwitch;
class PositionSettings;
struct NumberField;
class StepperRow;
class TextLabel;
class ToggleSwitch;

/// The settings, folded at first. A field shows what is set when the settings appear and after each of its
/// own changes; what is typed in between stays until it is submitted, by Return or by leaving the field.
class SettingsSection : public QWidget
{
    Q_OBJECT

public:
    explicit SettingsSection(const PanelContext &context, QWidget *parent = nullptr);

    void refresh();
    void setExpanded(bool expanded);
    /// What choosing it in the settings does.
    void chooseMarket(MarketSegment segment);
    /// Takes the texts of all fields from the state.
    void fillFields();
    [[nodiscard]] QList<QWidget *> tabStops() const;

Q_SIGNALS:
    /// What a field took differently from what was typed.
    void noted(const QString &note);

private:
    [[nodiscard]] QWidget *makeContent();
    [[nodiscard]] static QWidget *makeRow(const QString &title, QWidget *control);
    void connectProxy(InputField *field, Published<QString> AppState::*proxy);
    template <typename T>
    void connectStepper(StepperRow *row, const NumberField &number, Published<T> &value);

    PanelContext m_context;
    DisclosureHeader *m_header;
    Collapsible *m_body;
    MarketSwitch *m_market;
    ToggleSwitch *m_miniMode;
    ToggleSwitch *m_desktopNotices;
    ToggleSwitch *m_zoneNotices;
    StepperRow *m_threshold;
    TextLabel *m_distances;
    TextLabel *m_status;
    PositionSettings *m_position;
    StepperRow *m_range;
    StepperRow *m_perSide;
    InputField *m_proxyCrypto;
    InputField *m_proxyStock;
    std::vector<std::function<void()>> m_fills; ///< put what is set into a field
};

} // namespace kestrune

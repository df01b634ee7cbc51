// SPDX-License-Identifier: MIT
#include "panel/settingssection.h"

#include "panel/marketswitch.h"
#include "panel/positionsettings.h"
#include "panel/tones.h"
#include "ui/boxlayouts.h"
#include "ui/disclosure.h"
#include "ui/divider.h"
#include "ui/inputfield.h"
#include "ui/stepperrow.h"
#include "ui/textlabel.h"
#include "ui/toggleswitch.h"
#include "viewmodel/paneltexts.h"
#include "viewmodel/planbannermodel.h"
#include "viewmodel/settingsinput.h"
#include "viewmodel/standingtexts.h"

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr QStringView thresholdHelp =
    u"当现价距最近支撑（买点）或阻力（卖点） ≤ 该百分比时，状态栏亮起对应红/绿提醒。值越大越灵敏。";
constexpr QStringView displayHelp =
    u"主撑压列表只显示距现价 ±X% 内的价位，每侧最多 N 个；EMA/Vegas/VWAP 已移至「市场背景」。";

constexpr int proxyWidth = 168; // shows socks5://127.0.0.1:1080

} // namespace

SettingsSection::SettingsSection(const PanelContext &context, QWidget *parent)
    : QWidget(parent)
    , m_context(context)
    , m_header(new DisclosureHeader(u"设置"_s))
    , m_market(new MarketSwitch(Chip::Look::pill))
    , m_miniMode(new ToggleSwitch(u"极简模式（状态栏只显示价格数字）"_s))
    , m_desktopNotices(new ToggleSwitch(u"桌面通知"_s))
    , m_zoneNotices(new ToggleSwitch(u"接近撑压时通知"_s))
    , m_threshold(new StepperRow(u"买卖预警阈值 (%)"_s, thresholdHelp.toString()))
    , m_distances(new TextLabel({}, TypeRole::caption, Tone::secondary))
    , m_status(new TextLabel(TypeRole::caption))
    , m_position(new PositionSettings(context))
    , m_range(new StepperRow(u"显示范围 ±(%)"_s, displayHelp.toString()))
    , m_perSide(new StepperRow(u"每侧最多(个)"_s, displayHelp.toString()))
    , m_proxyCrypto(new InputField(u"行情代理（加密）"_s))
    , m_proxyStock(new InputField(u"行情代理（股票）"_s))
{
    m_body = new Collapsible(makeContent());
    auto *column = columnIn(this, 0);
    column->addWidget(m_header);
    column->addWidget(m_body);
    connect(m_header, &DisclosureHeader::clicked, this, [this] { setExpanded(!m_body->isExpanded()); });
    connect(m_market, &MarketSwitch::marketPicked, this, &SettingsSection::chooseMarket);
    connect(m_miniMode, &ToggleSwitch::clicked, this,
            [&state = m_context.state] { state.miniMode = !state.miniMode(); });
    connect(m_desktopNotices, &ToggleSwitch::clicked, this,
            [&state = m_context.state] { state.desktopNotices = !state.desktopNotices(); });
    connect(m_zoneNotices, &ToggleSwitch::clicked, this,
            [&state = m_context.state] { state.zoneNotices = !state.zoneNotices(); });
    connect(m_position, &PositionSettings::noted, this, &SettingsSection::noted);
    connectStepper(m_threshold, fields::threshold, m_context.state.signalThreshold);
    connectStepper(m_range, fields::range, m_context.state.displayRangePct);
    connectStepper(m_perSide, fields::perSide, m_context.state.maxPerSide);
    connectProxy(m_proxyCrypto, &AppState::proxyCrypto);
    connectProxy(m_proxyStock, &AppState::proxyStock);
    setExpanded(false);
    fillFields();
}

QWidget *SettingsSection::makeContent()
{
    auto *content = new QWidget;
    auto *column = columnIn(content, stackSpacing, {0, blockSpacing, 0, 0});
    auto *threshold = columnIn(nullptr, 2);
    threshold->addWidget(m_threshold);
    m_distances->setWrap(true);
    threshold->addWidget(m_distances);
    threshold->addWidget(m_status);
    auto *display = columnIn(nullptr, blockSpacing);
    display->addWidget(m_range);
    display->addWidget(m_perSide);
    column->addWidget(makeRow(u"市场"_s, m_market));
    for (ToggleSwitch *toggle : {m_miniMode, m_desktopNotices, m_zoneNotices})
        column->addWidget(toggle);
    column->addWidget(new Divider);
    column->addLayout(threshold);
    column->addWidget(new Divider);
    column->addWidget(m_position);
    column->addWidget(new Divider);
    column->addLayout(display);
    column->addWidget(new Divider);
    auto *proxies = columnIn(nullptr, blockSpacing);
    for (InputField *field : {m_proxyCrypto, m_proxyStock})
        proxies->addWidget(makeRow(field->accessibleName(), field));
    column->addLayout(proxies);
    return content;
}

QWidget *SettingsSection::makeRow(const QString &title, QWidget *control)
{
    auto *row = new QWidget;
    auto *line = rowIn(row, rowSpacing);
    line->addWidget(new TextLabel(title, TypeRole::caption));
    line->addStretch(1);
    line->addWidget(control);
    return row;
}

void SettingsSection::connectProxy(InputField *field, Published<QString> AppState::*proxy)
{
    field->setPlaceholderText(u"系统"_s);
    field->setToolTip(u"留空用系统代理，「直连」不用代理，或 主机:端口（前可加 http:// 或 socks5://）"_s);
    field->setFixedWidth(proxyWidth);
    m_fills.push_back([&state = m_context.state, field, proxy] {
        field->showText((state.*proxy)());
        field->setCursorPosition(0); // of a long one the beginning shows
    });
    connect(field, &InputField::submitted, this, [this, proxy, fill = m_fills.back()](const QString &text) {
        if (!m_context.state.chooseProxy(proxy, text))
            Q_EMIT noted(u"代理格式不对，仍用原设置"_s);
        fill();
    });
}

template <typename T>
void SettingsSection::connectStepper(StepperRow *row, const NumberField &number, Published<T> &value)
{
    m_fills.push_back([row, &number, &value] { row->field()->showText(number.spelled(value())); });
    const auto set = [&number, &value, fill = m_fills.back()](std::optional<double> wanted) {
        if (wanted)
            value = T(number.limited(*wanted));
        fill();
    };
    connect(row, &StepperRow::stepped, this,
            [&number, &value, set](int direction) { set(value() + direction * number.step); });
    connect(row, &StepperRow::submitted, this, [this, &number, &value, set](const QString &text) {
        const NumberField::Answer answer = number.answer(text, value());
        set(answer.value);
        if (!answer.note.isEmpty())
            Q_EMIT noted(answer.note);
    });
}

void SettingsSection::chooseMarket(MarketSegment segment)
{
    AppState &state = m_context.state;
    clearPickedZone(state);
    state.setMarket(segment);
    if (state.isStock())
        m_position->showLeverage(); // set to 1 by the change of segment
}

void SettingsSection::setExpanded(bool expanded)
{
    if (expanded && !m_body->isExpanded())
        fillFields();
    m_header->setChecked(expanded);
    m_header->setToolTip(expanded ? u"收起设置"_s : u"展开设置"_s);
    m_body->setExpanded(expanded);
}

void SettingsSection::fillFields()
{
    for (const auto &fill : m_fills)
        fill();
    m_position->fillFields();
}

void SettingsSection::refresh()
{
    const AppState &state = m_context.state;
    m_market->setMarket(state.market());
    m_miniMode->setChecked(state.miniMode());
    m_desktopNotices->setChecked(state.desktopNotices());
    m_zoneNotices->setChecked(state.zoneNotices());
    m_zoneNotices->setEnabled(state.desktopNotices());
    m_distances->setText(distancesText(state.nearestBuyDistPct(), state.nearestSellDistPct()));
    m_distances->setVisible(verdictShows(state));
    m_status->setText(verdictText(state));
    m_status->setTone(toneOf(state.statusColor()));
    m_position->refresh();
}

QList<QWidget *> SettingsSection::tabStops() const
{
    QList<QWidget *> stops{m_header};
    return stops << m_market->tabStops() << m_miniMode << m_desktopNotices << m_zoneNotices
                 << m_threshold->tabStops() << m_position->tabStops() << m_range->tabStops()
                 << m_perSide->tabStops() << m_proxyCrypto << m_proxyStock;
}

} // namespace kestrune

// SPDX-License-Identifier: MIT
#include "panel/headersection.h"

#include "analysis/priceformat.h"
#include "panel/pixelsparkline.h"
#include "panel/tones.h"
#include "ui/boxlayouts.h"
#include "ui/choicerow.h"
#include "ui/iconlabel.h"
#include "ui/spinner.h"
#include "ui/textlabel.h"
#include "viewmodel/paneltexts.h"
#include "viewmodel/planbannermodel.h"
#include "viewmodel/standingtexts.h"

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int lineSpacing = 4;
constexpr int titleSpacing = 6;
constexpr QSize sparklineSize{70, 16};
constexpr int statusIconSide = 14;

} // namespace

HeaderSection::HeaderSection(const PanelContext &context, QWidget *parent)
    : QWidget(parent), m_context(context)
{
    auto *column = columnIn(this, lineSpacing);
    column->addWidget(makeTitleRow());
    column->addWidget(makeChangeRow());
    column->addWidget(makeStatusRow());
}

QWidget *HeaderSection::makeTitleRow()
{
    auto *row = new QWidget;
    auto *line = rowIn(row, titleSpacing);
    m_title = new TextLabel(TypeRole::headline);
    m_title->setElide(Qt::ElideRight);
    m_title->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    m_sparkline = new PixelSparkline(m_context.clock);
    m_sparkline->setFixedSize(sparklineSize);
    m_sparkline->setCursor(Qt::PointingHandCursor);
    m_sparkline->setToolTip(u"打开 K线图（C）"_s);
    connect(m_sparkline, &PixelSparkline::clicked, this, &HeaderSection::chartRequested);
    m_sparkline->hide();
    m_price = new TextLabel(TypeRole::price);
    m_price->hide();
    m_spinner = new Spinner;
    m_spinner->setFixedSize(m_spinner->sizeHint());
    m_spinner->setAccessibleName(QStringLiteral("价格加载中"));
    row->setFixedHeight(lineHeight(TypeRole::price));
    line->addWidget(m_title);
    line->addWidget(m_sparkline);
    line->addStretch(1);
    line->addWidget(m_price);
    line->addWidget(m_spinner);
    return row;
}

QWidget *HeaderSection::makeChangeRow()
{
    auto *row = new QWidget;
    auto *line = rowIn(row, rowSpacing);
    m_change = new TextLabel(TypeRole::caption);
    m_priceLine = new TextLabel({}, TypeRole::caption, Tone::secondary);
    line->addWidget(m_change);
    line->addWidget(m_priceLine);
    line->addStretch(1);
    return row;
}

QWidget *HeaderSection::makeStatusRow()
{
    auto *row = new QWidget;
    auto *line = rowIn(row, lineSpacing);
    m_statusIcon = new IconLabel(m_context.state.statusSymbol(), Tone::secondary, statusIconSide);
    m_status = new TextLabel(TypeRole::caption);
    m_timeframes = new ChoiceRow({}, Chip::Look::segment);
    connect(m_timeframes, &ChoiceRow::picked, this,
            [&state = m_context.state](qsizetype, const QString &label) {
                clearPickedZone(state);
                state.setTimeframe(label);
            });
    line->addWidget(m_statusIcon);
    line->addWidget(m_status);
    line->addStretch(1);
    line->addWidget(m_timeframes);
    return row;
}

void HeaderSection::refresh()
{
    const AppState &state = m_context.state;
    m_sparkline->setContent(state.sparkline(), state.zones());
    m_sparkline->setVisible(!state.sparkline().empty());

    const auto price = state.price();
    if (price)
        m_price->setText(fmtP(*price, state.decimals()));
    const Judgement standing = state.priceStanding();
    m_price->setTone(standing.fresh() ? changeTone(state.changePct()) : Tone::secondary);
    m_price->setAccessibleDescription(priceCaveat(state));
    m_price->setVisible(price.has_value());
    m_spinner->setVisible(!price);
    refreshTitle();

    const auto change = standing.own() ? state.changePct() : std::nullopt;
    m_change->setVisible(change.has_value());
    if (change) {
        m_change->setText(changeText(*change));
        m_change->setTone(standing.fresh() ? changeTone(change) : Tone::secondary);
    }
    m_priceLine->setText(priceLine(state));

    m_statusIcon->setIconName(state.statusSymbol());
    m_statusIcon->setTone(toneOf(state.statusColor()));
    m_status->setText(verdictText(state));
    m_status->setTone(toneOf(state.statusColor()));
    m_timeframes->setChoices(state.timeframeOptions());
    m_timeframes->setCurrent(state.timeframeOptions().indexOf(state.timeframe()));
}

// Beside a long price the title steps down a size before it is cut.
void HeaderSection::refreshTitle()
{
    const QString title = m_context.state.headerTitle();
    if (title != m_title->text())
        m_titleWidth = textWidth(title, TypeRole::headline);
    int room = panelWidth - 2 * panelMargin;
    for (const QWidget *neighbour : {static_cast<QWidget *>(m_sparkline), static_cast<QWidget *>(m_price)}) {
        if (!neighbour->isHidden())
            room -= neighbour->sizeHint().width() + titleSpacing;
    }
    m_title->setRole(m_titleWidth <= room ? TypeRole::headline : TypeRole::section);
    m_title->setText(title);
    m_title->setToolTip(title);
}

QList<QWidget *> HeaderSection::tabStops() const
{
    return m_timeframes->tabStops();
}

} // namespace kestrune

// SPDX-License-Identifier: MIT
#include "panel/planbanner.h"

#include "panel/panelcontext.h"
#include "panel/tones.h"
#include "ui/boxlayouts.h"
#include "ui/iconbutton.h"
#include "ui/iconlabel.h"
#include "ui/roundedrect.h"
#include "ui/tag.h"
#include "ui/textbutton.h"
#include "ui/textlabel.h"

#include <QGridLayout>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int edgeWidth = 3;
constexpr double bannerRadius = 8;
constexpr float groundShare = 0.10F;
constexpr int sidePadding = 10;
constexpr int topPadding = 8;
constexpr int bannerLineSpacing = 4;
constexpr int warningIconSide = 12;
constexpr int iconInset = 4; // of an icon inside its button
constexpr float titleShare = 0.14F;
constexpr int ratioHeight = 6;
constexpr int ratioWidth = 96;

/// Of a distance by its sign, like that of a zone; of other words that of a caption.
Tone restTone(const QString &rest)
{
    if (rest.startsWith(u'+'))
        return Tone::red;
    return rest.startsWith(QChar(0x2212)) ? Tone::green : Tone::secondary;
}

} // namespace

/// One unit of risk beside what it may gain.
class RatioBar : public QWidget
{
public:
    using QWidget::QWidget;

    void setRatio(double ratio, Tone tone)
    {
        m_ratio = ratio > 0 ? ratio : 0; // nothing to gain, nor from what is no number
        m_tone = tone;
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        const Palette &palette = paletteOf(this);
        const double riskWidth = std::max(width() / (1 + m_ratio), double(ratioHeight));
        QColor risk = palette.secondary;
        risk.setAlphaF(0.45F);
        fillRounded(painter, QRectF(0, 0, riskWidth, height()), ratioHeight / 2.0, risk);
        const QRectF gain(riskWidth + 2, 0, width() - riskWidth - 2, height());
        if (gain.width() >= ratioHeight)
            fillRounded(painter, gain, ratioHeight / 2.0, palette.shapeColor(m_tone));
    }

private:
    double m_ratio = 0;
    Tone m_tone = Tone::secondary;
};

PlanBanner::PlanBanner(QWidget *parent) : QWidget(parent)
{
    setAccessibleName(u"开单助手"_s);
    // The icons, not their hit areas, end at the padding.
    auto *column = columnIn(this, bannerLineSpacing,
                            {edgeWidth + sidePadding, topPadding, sidePadding - iconInset, topPadding});
    m_priceBox = new QWidget;
    auto *grid = new QGridLayout(m_priceBox);
    grid->setContentsMargins({});
    grid->setHorizontalSpacing(rowSpacing);
    grid->setVerticalSpacing(1);
    grid->setColumnStretch(2, 1);
    m_ratio = new RatioBar(m_priceBox);
    m_ratio->setFixedSize(ratioWidth, ratioHeight);
    m_lineBox = new QWidget;
    columnIn(m_lineBox, bannerLineSpacing);
    column->addWidget(makeTitleRow());
    column->addWidget(makeVerdictRow());
    column->addWidget(m_priceBox);
    column->addWidget(m_lineBox);
    column->addWidget(makeBottomRow());
}

QWidget *PlanBanner::makeTitleRow()
{
    m_titleRow = new QWidget;
    auto *line = rowIn(m_titleRow, rowSpacing, {0, 0, 0, blockSpacing});
    auto *words = columnIn(nullptr, 0);
    m_title = new TextLabel(TypeRole::bodyBold);
    m_title->setWrap(true);
    words->addWidget(m_title);
    auto *note = new TextLabel(u"以下按此价位进场计算，不是现价"_s, TypeRole::caption);
    note->setWrap(true);
    words->addWidget(note);
    m_close = new IconButton(u"xmark.circle.fill"_s);
    m_close->setTip(u"恢复现价开单助手"_s);
    connect(m_close, &IconButton::clicked, this, &PlanBanner::closeRequested);
    line->addLayout(words, 1);
    line->addWidget(m_close, 0, Qt::AlignTop);
    m_titleRow->hide();
    return m_titleRow;
}

QWidget *PlanBanner::makeVerdictRow()
{
    m_verdictRow = new QWidget;
    auto *line = rowIn(m_verdictRow, rowSpacing);
    m_direction = new Tag({}, Tone::secondary, Tag::Look::solid);
    m_headline = new TextLabel(TypeRole::section);
    m_headline->setWrap(true);
    line->addWidget(m_direction, 0, Qt::AlignTop);
    line->addWidget(m_headline, 1);
    return m_verdictRow;
}

QWidget *PlanBanner::makeBottomRow()
{
    m_bottomRow = new QWidget;
    auto *line = rowIn(m_bottomRow, rowSpacing, {0, 0, iconInset, 0});
    m_cost = new TextLabel({}, TypeRole::caption, Tone::secondary);
    m_setAlerts = new TextButton(u"设提醒"_s);
    m_setAlerts->setIconName(u"bell.badge.plus"_s);
    m_setAlerts->setToolTip(u"把止盈价与止损价一次性设为价格提醒"_s);
    connect(m_setAlerts, &TextButton::clicked, this, &PlanBanner::alertsRequested);
    line->addWidget(m_cost);
    line->addStretch(1);
    line->addWidget(m_setAlerts);
    return m_bottomRow;
}

void PlanBanner::setModel(const PlanBannerModel &model)
{
    m_tone = model.plan ? planTone(*model.plan) : Tone::secondary;
    update();
    m_titleRow->setVisible(model.title.has_value());
    if (model.title)
        m_title->setText(*model.title);
    for (QWidget *part : {m_verdictRow, m_priceBox, m_bottomRow})
        part->setVisible(model.plan.has_value());
    if (model.plan)
        setPlan(*model.plan);
    else
        setLines({{model.reason}});
}

void PlanBanner::setPlan(const TradePlan &plan)
{
    m_direction->setContent(rawValue(plan.dir), directionTone(plan.dir), Tag::Look::solid);
    m_headline->setText(plan.headline);
    m_headline->setTone(m_tone);
    setPrices(planRows(plan));
    setLines(planLines(plan));
    m_cost->setText(costText(plan.costPct));
}

void PlanBanner::setPrices(const std::vector<PlanRow> &rows)
{
    auto *grid = static_cast<QGridLayout *>(m_priceBox->layout());
    while (m_prices.size() < rows.size()) {
        const int at = int(m_prices.size());
        auto *label = new TextLabel({}, TypeRole::caption, Tone::secondary);
        auto *number = new TextLabel(TypeRole::zonePrice);
        auto *rest = new TextLabel(TypeRole::caption);
        rest->setWrap(true);
        grid->addWidget(label, at, 0, Qt::AlignVCenter);
        grid->addWidget(number, at, 1, Qt::AlignRight | Qt::AlignVCenter);
        grid->addWidget(rest, at, 2, Qt::AlignVCenter);
        m_prices.push_back({label, number, rest});
    }
    m_ratio->hide();
    for (std::size_t i = 0; i < m_prices.size(); ++i) {
        const auto &[label, number, rest] = m_prices[i];
        const bool shown = i < rows.size();
        label->setVisible(shown);
        number->setVisible(shown);
        rest->setVisible(shown && !rows[i].ratio);
        if (!shown)
            continue;
        label->setText(rows[i].label);
        number->setText(rows[i].number);
        rest->setText(rows[i].rest);
        rest->setTone(restTone(rows[i].rest));
        if (rows[i].ratio) {
            m_ratio->setRatio(*rows[i].ratio, m_tone);
            grid->addWidget(m_ratio, int(i), 2, Qt::AlignVCenter | Qt::AlignLeft); // moves it
            m_ratio->show();
        }
    }
}

void PlanBanner::setLines(const std::vector<PlanLine> &lines)
{
    while (m_lines.size() < lines.size()) {
        auto *row = new QWidget;
        auto *line = rowIn(row, bannerLineSpacing);
        auto *icon = new IconLabel(u"exclamationmark.triangle.fill"_s, Tone::orange, warningIconSide);
        icon->setFixedHeight(lineHeight(TypeRole::caption)); // beside the first line
        icon->setAccessibleName(u"警告"_s);
        auto *text = new TextLabel(TypeRole::caption);
        text->setWrap(true);
        line->addWidget(icon, 0, Qt::AlignTop);
        line->addWidget(text, 1);
        m_lineBox->layout()->addWidget(row);
        m_lines.push_back({row, icon, text});
    }
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
        const Line &line = m_lines[i];
        if (i < lines.size()) {
            line.icon->setVisible(lines[i].isWarning);
            line.text->setText(lines[i].text);
            line.text->setTone(lines[i].isWarning ? Tone::orange : Tone::secondary);
        }
        line.row->setVisible(i < lines.size());
    }
    m_lineBox->setVisible(!lines.empty());
}

QList<QWidget *> PlanBanner::tabStops() const
{
    return {m_close, m_setAlerts};
}

void PlanBanner::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath shape;
    shape.addRoundedRect(rect(), bannerRadius, bannerRadius);
    const QColor edge = paletteOf(this).color(m_tone);
    QColor ground = edge;
    ground.setAlphaF(groundShare);
    painter.fillPath(shape, ground);
    if (!m_titleRow->isHidden()) { // a heading of its own, not a line of the plan
        ground.setAlphaF(titleShare);
        painter.setClipRect(QRect(0, 0, width(), m_titleRow->geometry().bottom() + 1));
        painter.fillPath(shape, ground);
    }
    painter.setClipRect(QRect(0, 0, edgeWidth, height()));
    painter.fillPath(shape, edge);
}

} // namespace kestrune

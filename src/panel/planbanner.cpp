// SPDX-License-Identifier: MIT
#include "panel/planbanner.h"

#include "panel/panelcontext.h"
#include "panel/tones.h"
#include "ui/boxlayouts.h"
#include "ui/iconbutton.h"
#include "ui/iconlabel.h"
#include "ui/textbutton.h"
#include "ui/textlabel.h"

#include <QPainter>
#include <QPainterPath>

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

} // namespace

PlanBanner::PlanBanner(QWidget *parent) : QWidget(parent)
{
    setAccessibleName(u"开单助手"_s);
    // The icons, not their hit areas, end at the padding.
    auto *column = columnIn(this, bannerLineSpacing,
                            {edgeWidth + sidePadding, topPadding, sidePadding - iconInset, topPadding});
    m_headline = new TextLabel(TypeRole::section);
    m_headline->setWrap(true);
    m_detail = new TextLabel(TypeRole::caption);
    m_detail->setWrap(true);
    m_lineBox = new QWidget;
    columnIn(m_lineBox, bannerLineSpacing);
    column->addWidget(makeTitleRow());
    column->addWidget(m_headline);
    column->addWidget(m_detail);
    column->addWidget(m_lineBox);
    column->addWidget(makeBottomRow());
}

QWidget *PlanBanner::makeTitleRow()
{
    m_titleRow = new QWidget;
    auto *line = rowIn(m_titleRow, rowSpacing);
    m_title = new TextLabel({}, TypeRole::captionBold, Tone::text);
    m_title->setWrap(true);
    m_close = new IconButton(u"xmark.circle.fill"_s);
    m_close->setTip(u"恢复现价开单助手"_s);
    connect(m_close, &IconButton::clicked, this, &PlanBanner::closeRequested);
    line->addWidget(m_title, 1, Qt::AlignVCenter);
    line->addWidget(m_close);
    m_titleRow->hide();
    return m_titleRow;
}

QWidget *PlanBanner::makeBottomRow()
{
    auto *row = new QWidget;
    auto *line = rowIn(row, rowSpacing, {0, 0, iconInset, 0});
    m_cost = new TextLabel({}, TypeRole::caption, Tone::secondary);
    m_setAlerts = new TextButton(u"设提醒"_s);
    m_setAlerts->setIconName(u"bell.badge.plus"_s);
    m_setAlerts->setToolTip(u"把止盈价与止损价一次性设为价格提醒"_s);
    connect(m_setAlerts, &TextButton::clicked, this, &PlanBanner::alertsRequested);
    line->addWidget(m_cost);
    line->addStretch(1);
    line->addWidget(m_setAlerts);
    return row;
}

void PlanBanner::setModel(const PlanBannerModel &model)
{
    const Tone tone = planTone(model.plan);
    if (m_tone != tone) {
        m_tone = tone;
        update();
    }
    m_titleRow->setVisible(model.title.has_value());
    if (model.title)
        m_title->setText(*model.title);
    m_headline->setText(model.plan.headline);
    m_headline->setTone(tone);
    m_detail->setText(model.plan.detail);
    setLines(planLines(model.plan));
    m_cost->setText(costText(model.plan.costPct));
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
    painter.setClipRect(QRect(0, 0, edgeWidth, height()));
    painter.fillPath(shape, edge);
}

} // namespace kestrune

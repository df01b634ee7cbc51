// SPDX-License-Identifier: MIT
#include "panel/snapshotsection.h"

#include "panel/tones.h"
#include "ui/boxlayouts.h"
#include "ui/flowlayout.h"
#include "ui/iconlabel.h"
#include "ui/textlabel.h"
#include "viewmodel/paneltexts.h"
#include "viewmodel/standingtexts.h"

#include <QPainter>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int signalIconSide = 12;
constexpr int itemSpacing = 10;
constexpr int itemGap = 4;
constexpr int dotSide = 6;

/// Dot, label and verdict of one timeframe.
class SignalItem : public QWidget
{
public:
    SignalItem()
        : m_label(new TextLabel({}, TypeRole::caption, Tone::secondary))
        , m_verdict(new TextLabel(TypeRole::captionBold))
    {
        auto *line = rowIn(this, itemGap, {dotSide + itemGap, 0, 0, 0});
        line->addWidget(m_label);
        line->addWidget(m_verdict);
    }

    void show(const TimeframeSignal &signal, bool fresh)
    {
        m_label->setText(signal.label);
        m_verdict->setText(rawValue(signal.signal));
        const Tone tone = fresh ? signalTone(signal.signal) : Tone::secondary;
        if (m_verdict->tone() != tone) {
            m_verdict->setTone(tone);
            update();
        }
        setToolTip(signalTip(signal));
        setAccessibleName(signal.label + u' ' + rawValue(signal.signal));
        setAccessibleDescription(signal.reason);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(paletteOf(this).color(m_verdict->tone()));
        const int top = (height() - dotSide) / 2; // a whole pixel
        painter.drawEllipse(QRectF(0, top, dotSide, dotSide));
    }

private:
    TextLabel *m_label;
    TextLabel *m_verdict;
};

} // namespace

SnapshotSection::SnapshotSection(const PanelContext &context, QWidget *parent)
    : QWidget(parent)
    , m_context(context)
    , m_conclusion(new TextLabel(TypeRole::captionBold))
    , m_itemBox(new QWidget)
    , m_items(new FlowLayout(m_itemBox, itemSpacing, 2))
{
    auto *line = rowIn(nullptr, blockSpacing);
    auto *icon = new IconLabel(u"chart.line.uptrend.xyaxis"_s, Tone::secondary, signalIconSide);
    icon->setFixedHeight(lineHeight(TypeRole::captionBold)); // beside the first line
    m_conclusion->setWrap(true);
    line->addWidget(icon, 0, Qt::AlignTop);
    line->addWidget(m_conclusion, 1);
    auto *column = columnIn(this, blockSpacing);
    column->addLayout(line);
    column->addWidget(m_itemBox);
    // While a new instrument loads there are no signals, but their line stays.
    m_itemBox->setMinimumHeight(lineHeight(TypeRole::captionBold));
}

void SnapshotSection::refresh()
{
    const auto &snapshot = m_context.state.snapshot();
    const bool fresh = m_context.state.signalsStanding().fresh();
    m_conclusion->setText(conclusionText(m_context.state));
    m_conclusion->setTone(fresh ? conclusionTone(snapshot) : Tone::secondary);
    while (m_itemWidgets.size() < snapshot.size()) {
        m_itemWidgets.push_back(new SignalItem);
        m_items->addWidget(m_itemWidgets.back());
    }
    for (std::size_t i = 0; i < m_itemWidgets.size(); ++i) {
        if (i < snapshot.size())
            static_cast<SignalItem *>(m_itemWidgets[i])->show(snapshot[i], fresh);
        m_itemWidgets[i]->setVisible(i < snapshot.size());
    }
}

} // namespace kestrune

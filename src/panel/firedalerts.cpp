// SPDX-License-Identifier: MIT
#include "panel/firedalerts.h"

#include "ui/boxlayouts.h"
#include "ui/flatbutton.h"
#include "ui/icons.h"
#include "ui/textbutton.h"
#include "ui/typography.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int firedRowHeight = 30;
constexpr int firedRowGap = 4;
constexpr int firedRowPadding = 6;
constexpr int firedPartGap = 6;
constexpr int firedBellSide = 14;
constexpr int firedRowRadius = 6;

} // namespace

/// One fired alert on a line of its own: pressing it asks for its instrument.
class FiredAlertRow : public FlatButton
{
public:
    explicit FiredAlertRow(QWidget *parent)
        : FlatButton(parent), m_dismiss(new TextButton(u"收到"_s, TextButton::Look::raised, this))
    {
        setFixedHeight(firedRowHeight);
        hide();
    }

    [[nodiscard]] TextButton *dismiss() const { return m_dismiss; }
    [[nodiscard]] const QString &id() const { return m_line.id; }

    void setLine(const FiredAlertLine &line, bool rings)
    {
        if (m_line == line && m_rings == rings)
            return;
        m_line = line;
        m_rings = rings;
        const QString spoken = spokenText(line);
        setAccessibleName(rings ? spoken : spoken + u"，已停止"_s);
        setToolTip(spoken + u"\n点击查看该标的"_s);
        m_dismiss->setAccessibleDescription(line.name + u' ' + line.label);
        m_dismiss->setVisible(rings);
        update();
    }

    [[nodiscard]] QSize sizeHint() const override { return {160, firedRowHeight}; }
    [[nodiscard]] double focusRadius() const override { return firedRowRadius; }

protected:
    void resizeEvent(QResizeEvent *) override
    {
        const QSize size = m_dismiss->sizeHint();
        const int inset = (height() - size.height()) / 2; // the same on three sides
        m_dismiss->setGeometry(QRect({width() - inset - size.width(), inset}, size));
    }

    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        const Palette &palette = paletteOf(this);
        paintGround(painter, rect(), firedRowRadius, palette.raised);
        const QRectF bell(firedRowPadding, (height() - firedBellSide) / 2.0, firedBellSide, firedBellSide);
        drawIcon(painter, bell, m_rings ? u"bell.fill"_s : u"bell"_s,
                 palette.shapeColor(m_rings ? Tone::orange : Tone::secondary));

        const int top = (height() - lineHeight(TypeRole::caption)) / 2;
        const auto draw = [&](int x, const QString &text, TypeRole role, Tone tone) {
            painter.setPen(palette.color(m_rings ? tone : Tone::secondary));
            drawTextLine(painter, QPointF(x, top), text, role);
        };
        int right = m_dismiss->x() - firedRowPadding;
        const auto drawBefore = [&](const QString &text, Tone tone) {
            if (text.isEmpty())
                return;
            right -= textWidth(text, TypeRole::caption);
            draw(right, text, TypeRole::caption, tone);
            right -= firedPartGap;
        };
        if (!m_rings) {
            const QString done = u"已停止"_s;
            draw(width() - firedRowPadding - textWidth(done, TypeRole::caption), done, TypeRole::caption,
                 Tone::secondary);
        }
        drawBefore(m_line.time, Tone::secondary);
        drawBefore(m_line.price, Tone::text);
        int left = firedRowPadding + firedBellSide + firedPartGap;
        draw(left, m_line.name, TypeRole::captionBold, Tone::text);
        left += textWidth(m_line.name, TypeRole::captionBold) + firedPartGap;
        // Its end is the price that it waited for.
        draw(
            left,
            QFontMetricsF(fontFor(TypeRole::caption)).elidedText(m_line.label, Qt::ElideMiddle, right - left),
            TypeRole::caption, Tone::text);
    }

private:
    FiredAlertLine m_line;
    bool m_rings = false;
    TextButton *m_dismiss;
};

FiredAlerts::FiredAlerts(const PanelContext &context, QWidget *parent)
    : QWidget(parent), m_context(context), m_more(new TextButton({}, TextButton::Look::plain))
{
    auto *column = columnIn(this, firedRowGap, {0, rowSpacing, 0, firedRowGap});
    for (FiredAlertRow *&row : m_rows) {
        row = new FiredAlertRow(this);
        column->addWidget(row);
        connect(row, &FlatButton::clicked, this, [this, row] { Q_EMIT picked(row->id()); });
        connect(row->dismiss(), &TextButton::clicked, this,
                [&state = m_context.state, row] { state.dismissAlert(row->id()); });
    }
    m_more->setTone(Tone::orange);
    m_more->setToolTip(u"在「提醒记录」中查看"_s);
    column->addWidget(m_more, 0, Qt::AlignHCenter);
    connect(m_more, &TextButton::clicked, this, &FiredAlerts::logRequested);
    m_more->hide();
    hide();
}

void FiredAlerts::refresh()
{
    const std::vector<PriceAlert> fired = m_context.state.firedAlerts();
    std::vector<Shown> next;
    const auto isShown = [&next](const PriceAlert &alert) {
        return std::ranges::any_of(next, [&](const Shown &shown) { return shown.line.id == alert.id; });
    };
    if (isUnderPointer(*this)) {
        for (const Shown &before : m_shown) {
            const auto still = std::ranges::find(fired, before.line.id, &PriceAlert::id);
            const bool rings = still != fired.end();
            if (next.size() < m_room)
                next.push_back({rings ? firedAlertLine(m_context.state, *still) : before.line, rings});
        }
    }
    for (const PriceAlert &alert : fired) {
        if (next.size() < m_room && !isShown(alert))
            next.push_back({firedAlertLine(m_context.state, alert), true});
    }
    const auto unseen = std::ranges::count_if(fired, [&](const auto &alert) { return !isShown(alert); });
    bool changed = false;
    const auto show = [&changed](QWidget *widget, bool shows) {
        changed = changed || widget->isHidden() == shows;
        widget->setVisible(shows);
    };
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        if (i < next.size())
            m_rows[i]->setLine(next[i].line, next[i].rings);
        show(m_rows[i], i < next.size());
    }
    const QString more = u"还有 %1 条"_s.arg(unseen);
    if (m_more->text() != more) {
        m_more->setText(more);
        m_more->updateGeometry();
    }
    show(m_more, unseen > 0);
    m_shown = std::move(next);
    setVisible(!m_shown.empty());
    if (changed)
        Q_EMIT rowsChanged();
}

bool FiredAlerts::event(QEvent *event)
{
    if (event->type() == QEvent::Hide)
        m_shown.clear(); // nobody sees a row that stands still
    if (event->type() == QEvent::Leave)
        refresh();
    return QWidget::event(event);
}

QList<QWidget *> FiredAlerts::tabStops() const
{
    QList<QWidget *> stops;
    for (FiredAlertRow *row : m_rows)
        stops << row << row->dismiss();
    return stops << m_more;
}

} // namespace kestrune

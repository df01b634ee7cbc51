// SPDX-License-Identifier: MIT
#include "panel/zonerow.h"

#include "analysis/priceformat.h"
#include "panel/panelcontext.h"
#include "panel/tones.h"
#include "ui/flowlayout.h"
#include "ui/iconbutton.h"
#include "ui/roundedrect.h"
#include "ui/tag.h"
#include "ui/typography.h"
#include "viewmodel/paneltexts.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <chrono>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int verticalMargin = 4;
constexpr int lineGap = 2;
constexpr int columnGap = 8;
constexpr int bellSide = 24;
constexpr double cornerRadius = 6;
constexpr auto bellHoldTime = std::chrono::milliseconds(600);

int tagTop()
{
    return verticalMargin + lineHeight(TypeRole::zonePrice) + lineGap;
}

int emptyTagHeight()
{
    return lineHeight(TypeRole::caption) + 1; // the distance needs its line without tags too
}

} // namespace

/// A zone row is pressed to select it and reports its selection as a check mark.
class AccessibleZoneRow : public PressableInterface
{
public:
    explicit AccessibleZoneRow(ZoneRow *row) : PressableInterface(row, QAccessible::CheckBox) {}

    [[nodiscard]] QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.checkable = true;
        state.checked = row()->isSelected();
        return state;
    }

    [[nodiscard]] QStringList actionNames() const override
    {
        return PressableInterface::actionNames() << showMenuAction();
    }
    void doAction(const QString &name) override
    {
        if (name == showMenuAction())
            row()->askForMenu();
        else
            PressableInterface::doAction(name);
    }

protected:
    void press() override { Q_EMIT row()->tapped(); }

private:
    [[nodiscard]] ZoneRow *row() const { return static_cast<ZoneRow *>(widget()); }
};

ZoneRow::ZoneRow(const Zone &zone, int decimals, QWidget *parent)
    : QWidget(parent)
    , m_zone(zone)
    , m_decimals(decimals)
    , m_tagBox(new QWidget(this))
    , m_flow(new FlowLayout(m_tagBox))
    , m_bell(new IconButton(u"bell"_s, this))
    , m_fade(*this)
{
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum); // may grow, else its height is cut
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setFocusPolicy(Qt::StrongFocus);
    m_tagBox->setAttribute(Qt::WA_TransparentForMouseEvents);
    connect(m_bell, &IconButton::clicked, this, &ZoneRow::bellPressed);
    updateTexts();
    updateTags();
    setAlerts(false, false);
    m_holding.setSingleShot(true);
    m_holding.setInterval(bellHoldTime);
    connect(&m_holding, &QTimer::timeout, this, [this] {
        m_bell->setDown(false);    // letting go is no click any more,
        Q_EMIT m_bell->released(); // nor told by the toolkit
        askForMenu();
    });
    connect(m_bell, &IconButton::pressed, &m_holding, qOverload<>(&QTimer::start));
    connect(m_bell, &IconButton::released, &m_holding, &QTimer::stop);
}

void ZoneRow::setZone(const Zone &zone, int decimals)
{
    m_zone = zone;
    m_decimals = decimals;
    updateTexts();
    updateTags();
}

void ZoneRow::setAlerts(bool onMiddle, bool follows)
{
    m_bell->setIconName(follows ? u"bell.follow.fill"_s : onMiddle ? u"bell.fill"_s : u"bell"_s);
    m_bell->setTone(onMiddle || follows ? Tone::orange : Tone::secondary);
    const QString tip = onMiddle ? u"取消该价位提醒"_s : u"设置该价位提醒"_s;
    const QString shown = follows ? tip + u"\n正在跟随这个区域"_s : tip;
    if (m_bell->toolTip() != shown) {
        m_bell->setTip(tip);
        m_bell->setToolTip(shown);
    }
    if (std::exchange(m_followed, follows) != follows)
        updateAccessibleTexts();
}

void ZoneRow::setDimmed(bool dimmed)
{
    if (std::exchange(m_dimmed, dimmed) != dimmed)
        update();
}

void ZoneRow::setLit(bool lit)
{
    if (std::exchange(m_lit, lit) != lit)
        update();
}

void ZoneRow::setSelected(bool selected)
{
    if (m_selected == selected)
        return;
    m_selected = selected;
    update();
    QAccessible::State changed;
    changed.checked = true;
    QAccessibleStateChangeEvent event(this, changed);
    QAccessible::updateAccessibility(&event);
}

QSize ZoneRow::sizeHint() const
{
    const int width = panelWidth - 2 * (panelMargin - overhang); // as wide as the panel makes it
    return {width, heightForWidth(width)};
}

QSize ZoneRow::minimumSizeHint() const
{
    return {160, tagTop() + emptyTagHeight() + verticalMargin};
}

int ZoneRow::heightForWidth(int width) const
{
    const int tags = m_tagContents.empty() ? 0 : m_flow->heightForWidth(tagWidth(width));
    return tagTop() + std::max(tags, emptyTagHeight()) + verticalMargin;
}

QAccessibleInterface *ZoneRow::makeAccessible()
{
    return new AccessibleZoneRow(this);
}

bool ZoneRow::event(QEvent *event)
{
    m_fade.handle(*event);
    if (event->type() == QEvent::Hide)
        m_pressed = false;
    else if (event->type() == QEvent::Enter || event->type() == QEvent::Leave)
        Q_EMIT pointed(event->type() == QEvent::Enter);
    return QWidget::event(event);
}

void ZoneRow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const Palette &palette = paletteOf(this);
    if (m_selected)
        fillRounded(painter, rect(), cornerRadius, palette.accentSoft);
    if (const double level = std::max(m_fade.level(), m_lit ? 1.0 : 0.0); level > 0)
        fillRounded(painter, rect(), cornerRadius, palette.veil(level));
    painter.setPen(palette.color(m_dimmed ? Tone::secondary : Tone::text));
    drawTextLine(painter, QPointF(overhang, verticalMargin), m_price, TypeRole::zonePrice);
    painter.setPen(palette.color(m_dimmed ? Tone::secondary : distanceTone(m_zone.distPct)));
    drawTextLine(painter, QPointF(width() - overhang - m_distanceWidth, tagTop()), m_distance,
                 TypeRole::caption);
}

void ZoneRow::resizeEvent(QResizeEvent *)
{
    // The bell's outline stands 4 px inside the button: this puts its right edge above the distance's.
    m_bell->setGeometry(width() - bellSide, 1, bellSide, bellSide);
    m_tagBox->setGeometry(overhang, tagTop(), tagWidth(width()), height() - tagTop() - verticalMargin);
}

void ZoneRow::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    m_pressed = true;
    m_fade.setPressed(true);
}

void ZoneRow::mouseMoveEvent(QMouseEvent *event)
{
    if (m_pressed)
        m_fade.setPressed(rect().contains(event->position().toPoint()));
}

void ZoneRow::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || !m_pressed)
        return;
    m_pressed = false;
    m_fade.setPressed(false);
    if (rect().contains(event->position().toPoint()))
        Q_EMIT tapped();
}

void ZoneRow::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        if (!event->isAutoRepeat())
            Q_EMIT tapped();
        break;
    case Qt::Key_F10:
        if (event->modifiers() == Qt::ShiftModifier) {
            askForMenu();
            break;
        }
        [[fallthrough]];
    default:
        QWidget::keyPressEvent(event);
    }
}

void ZoneRow::contextMenuEvent(QContextMenuEvent *event)
{
    Q_EMIT menuRequested(event->globalPos());
}

void ZoneRow::askForMenu()
{
    Q_EMIT menuRequested(m_bell->mapToGlobal(m_bell->rect().bottomLeft()));
}

void ZoneRow::updateTexts()
{
    QString price = fmtP(m_zone.mid, m_decimals);
    QString distance = distanceText(m_zone.distPct);
    if (price == m_price && distance == m_distance)
        return;
    // On a price tick only the distances change: tags and bell need no new paint then.
    const bool samePrice = price == m_price;
    m_price = std::move(price);
    m_distance = std::move(distance);
    const int before = m_distanceWidth;
    m_distanceWidth = textWidth(m_distance, TypeRole::caption);
    if (m_distanceWidth != before && before != 0) {
        updateGeometry();
        m_tagBox->resize(tagWidth(width()), m_tagBox->height());
    }
    updateAccessibleTexts();
    const int widest = std::max(m_distanceWidth, before) + 2;
    update(samePrice ? QRect(width() - overhang - widest, tagTop(), widest + overhang, emptyTagHeight())
                     : rect());
}

void ZoneRow::updateTags()
{
    std::vector<TagContent> contents = zoneTags(m_zone);
    if (contents == m_tagContents)
        return;
    m_tagContents = std::move(contents);
    for (std::size_t i = 0; i < m_tagContents.size(); ++i) {
        const auto &[text, color, look] = m_tagContents[i];
        if (i == m_tags.size()) {
            m_tags.push_back(new Tag(text, color, look, m_tagBox));
            m_flow->addWidget(m_tags.back());
        }
        m_tags[i]->setContent(text, color, look);
    }
    for (std::size_t i = 0; i < m_tags.size(); ++i)
        m_tags[i]->setVisible(i < m_tagContents.size());
    updateAccessibleTexts();
    updateGeometry();
}

void ZoneRow::updateAccessibleTexts()
{
    const QString kind = m_zone.type == "support"_L1 ? u"支撑"_s : u"阻力"_s;
    setAccessibleName(kind + u' ' + m_price + u' ' + m_distance);
    QStringList words;
    for (const TagContent &tag : m_tagContents)
        words.append(tag.text);
    if (m_followed)
        words.append(u"跟随中"_s);
    setAccessibleDescription(words.join(u'、'));
}

int ZoneRow::tagWidth(int width) const
{
    return std::max(width - 2 * overhang - columnGap - std::max(m_distanceWidth, bellSide - overhang), 1);
}

} // namespace kestrune

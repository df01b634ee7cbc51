// SPDX-License-Identifier: MIT
#include "ui/disclosure.h"

#include "ui/icons.h"
#include "ui/typography.h"

#include <QEvent>
#include <QLayout>
#include <QPainter>
#include <QVariantAnimation>

#include <cmath>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int chevronSide = 12;
constexpr int chevronInset = 3; // of the drawing inside its square
constexpr int arrowGap = 4;
constexpr int headerHeight = 24;
constexpr int foldMilliseconds = 200;

} // namespace

DisclosureHeader::DisclosureHeader(const QString &title, QString suffix, QWidget *parent)
    : FlatButton(parent), m_suffix(std::move(suffix))
{
    setText(title);
    setCheckable(true);
    setAccessibleName(title);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize DisclosureHeader::sizeHint() const
{
    const int words =
        textWidth(text(), TypeRole::section) + arrowGap + textWidth(m_suffix, TypeRole::caption);
    return {chevronSide + arrowGap + words, headerHeight};
}

QRectF DisclosureHeader::focusRect() const
{
    return QRectF(rect()).adjusted(-4, 0, 4, 0);
}

void DisclosureHeader::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const Palette &palette = paletteOf(this);
    const QRectF chevron(-chevronInset, (height() - chevronSide) / 2.0, chevronSide, chevronSide);
    const QColor idle = veilLevel() > 0 ? palette.text : palette.secondary;
    drawIcon(painter, chevron, isChecked() ? u"chevron.down"_s : u"chevron.right"_s, idle);
    painter.setPen(palette.text);
    double x = chevronSide - chevronInset + arrowGap;
    const int sectionTop = (height() - lineHeight(TypeRole::section)) / 2; // whole pixels keep the text sharp
    drawTextLine(painter, QPointF(x, sectionTop), text(), TypeRole::section);
    if (m_suffix.isEmpty())
        return;
    x += textWidth(text(), TypeRole::section) + arrowGap;
    painter.setPen(palette.secondary);
    const int captionTop = (height() - lineHeight(TypeRole::caption) + 1) / 2;
    drawTextLine(painter, QPointF(x, captionTop), m_suffix, TypeRole::caption);
}

Collapsible::Collapsible(QWidget *content, QWidget *parent)
    : QWidget(parent), m_content(content), m_animation(new QVariantAnimation(this))
{
    // May grow, else a layout cuts it at the size hint, in which no text wraps.
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    m_content->setParent(this);
    m_content->hide();
    m_content->installEventFilter(this);
    m_animation->setDuration(foldMilliseconds);
    m_animation->setEasingCurve(QEasingCurve::InOutQuad);
    connect(m_animation, &QVariantAnimation::valueChanged, this, [this](const QVariant &value) {
        // New end points announce a value of their own, before the start.
        if (m_animation->state() == QAbstractAnimation::Running)
            setShare(value.toDouble());
    });
}

void Collapsible::setExpanded(bool expanded)
{
    if (m_expanded == expanded)
        return;
    m_expanded = expanded;
    m_animation->stop();
    if (expanded)
        m_content->show();
    else if (m_share <= 0)
        m_content->hide(); // folded again before the first step: none will follow
    if (!isVisible()) {
        setShare(expanded ? 1 : 0);
        return;
    }
    m_unfolding = expanded;
    m_animation->setStartValue(m_share);
    m_animation->setEndValue(expanded ? 1.0 : 0.0);
    m_animation->start();
}

QSize Collapsible::sizeHint() const
{
    const int width = m_content->sizeHint().width();
    return {width, heightForWidth(width)};
}

int Collapsible::heightForWidth(int width) const
{
    return m_share <= 0 ? 0 : int(std::lround(fullHeight(width) * m_share));
}

bool Collapsible::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_content && event->type() == QEvent::LayoutRequest && m_share > 0) {
        updateGeometry();
        placeContent();
    }
    return QWidget::eventFilter(watched, event);
}

void Collapsible::resizeEvent(QResizeEvent *)
{
    placeContent();
    if (!m_unfolding)
        return;
    m_unfolding = m_share < 1 || height() < fullHeight(width()); // outer layouts may follow later
    Q_EMIT unfolding();
}

void Collapsible::hideEvent(QHideEvent *)
{
    finish();
}

void Collapsible::finish()
{
    m_animation->stop();
    m_unfolding = false;
    setShare(m_expanded ? 1 : 0);
}

int Collapsible::fullHeight(int width) const
{
    const QLayout *layout = m_content->layout();
    return layout && layout->hasHeightForWidth() ? layout->totalHeightForWidth(width)
                                                 : m_content->sizeHint().height();
}

void Collapsible::setShare(double share)
{
    if (m_share == share)
        return;
    m_share = share;
    if (share <= 0 && !m_expanded)
        m_content->hide(); // out of reach for Tab and readers
    placeContent();
    updateGeometry();
}

void Collapsible::placeContent()
{
    m_content->setGeometry(0, 0, width(), fullHeight(width()));
}

} // namespace kestrune

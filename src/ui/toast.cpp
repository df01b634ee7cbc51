// SPDX-License-Identifier: MIT
#include "ui/toast.h"

#include "ui/glyphdrawing.h"
#include "ui/icons.h"
#include "ui/palette.h"
#include "ui/roundedrect.h"
#include "ui/textbutton.h"
#include "ui/typography.h"

#include <QAccessible>
#include <QPainter>
#include <QVariantAnimation>

#include <chrono>
#include <cmath>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto stayTime = 2500ms;
constexpr auto actionStayTime = 8s;
constexpr int slideMilliseconds = 200;
constexpr int travel = 12;
constexpr int shadowMargin = 10;
constexpr int toastIconSide = 16;
constexpr int toastIconGap = 6;
constexpr int toastSidePadding = 12;
constexpr int toastTopPadding = 7;
constexpr auto toastRole = TypeRole::caption;

/// Widening veils beneath the capsule: a soft shadow without a blur.
void paintShadow(QPainter &painter, const QRectF &capsule, double toastRadius)
{
    for (int spread = shadowMargin - 2; spread > 0; --spread) {
        const QRectF shape = capsule.adjusted(-spread, -spread, spread, spread).translated(0, 2);
        fillRounded(painter, shape, toastRadius + spread, QColor(0, 0, 0, 1 + (shadowMargin - spread) / 2));
    }
}

} // namespace

Toast::Toast(QWidget *parent)
    : QWidget(parent)
    , m_action(new TextButton({}, TextButton::Look::plain, this))
    , m_slide(new QVariantAnimation(this))
{
    setFocusPolicy(Qt::NoFocus);
    hide();
    m_dismissal.setSingleShot(true);
    m_action->setTone(Tone::blue);
    m_action->hide();
    connect(m_action, &TextButton::clicked, this, [this] {
        slideTo(0);
        if (const auto act = std::exchange(m_onAction, {}))
            act();
    });
    connect(&m_dismissal, &QTimer::timeout, this, [this] {
        if (m_action->hasFocus() || m_action->underMouse())
            m_dismissal.start();
        else
            slideTo(0);
    });
    m_slide->setDuration(slideMilliseconds);
    m_slide->setEasingCurve(QEasingCurve::InOutQuad);
    connect(m_slide, &QVariantAnimation::valueChanged, this, [this](const QVariant &value) {
        m_presence = value.toDouble();
        update();
    });
    connect(m_slide, &QVariantAnimation::finished, this, [this] {
        if (m_presence <= 0)
            hide();
        m_action->setVisible(m_presence >= 1 && m_onAction);
    });
}

void Toast::present(const QString &message, bool isError, const QString &action,
                    std::function<void()> onAction)
{
    m_onAction = std::move(onAction);
    m_action->setText(action);
    m_action->hide();
    setAttribute(Qt::WA_TransparentForMouseEvents, !m_onAction);
    m_message = message;
    m_isError = isError;
    setAccessibleName(message);
    place();
    show();
    raise();
    if (!isVisible()) { // the parent is hidden: nobody would see it go
        clear();
        return;
    }
    m_dismissal.start(m_onAction ? actionStayTime : stayTime);
    slideTo(1);
    QAccessibleEvent event(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

QWidget *Toast::actionButton() const
{
    return m_action;
}

void Toast::setAnchor(const QPoint &bottomCenter, int maximumWidth)
{
    m_bottomCenter = bottomCenter;
    m_maximumWidth = maximumWidth;
    if (!m_message.isEmpty())
        place();
}

void Toast::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setOpacity(m_presence);
    painter.translate(shadowMargin, shadowMargin + travel * (1 - m_presence));
    const Palette &palette = paletteOf(this);
    const QRectF capsule(QPointF(0, 0), m_capsule);
    const double toastRadius = std::min(capsule.height() / 2, 16.0);
    paintShadow(painter, capsule, toastRadius);
    outlineRounded(painter, capsule, toastRadius - 0.5, blended(palette.hairline, palette.raised),
                   palette.raised);

    const QRectF icon(toastSidePadding, (capsule.height() - toastIconSide) / 2, toastIconSide, toastIconSide);
    drawIcon(painter, icon, m_isError ? u"exclamationmark.triangle.fill"_s : u"checkmark.circle.fill"_s,
             palette.shapeColor(m_isError ? Tone::orange : Tone::green));
    painter.setPen(palette.text);
    for (int i = 0; i < m_layout.lineCount(); ++i)
        drawGlyphs(painter, m_layout.lineAt(i), m_message,
                   QPointF(toastSidePadding + toastIconSide + toastIconGap, toastTopPadding));
}

void Toast::hideEvent(QHideEvent *)
{
    clear();
}

void Toast::slideTo(double presence)
{
    m_action->hide();
    m_slide->stop();
    m_slide->setStartValue(m_presence);
    m_slide->setEndValue(presence);
    m_slide->start();
}

void Toast::place()
{
    const int button = m_onAction ? m_action->sizeHint().width() : 0;
    const int around = 2 * toastSidePadding + toastIconSide + toastIconGap + button;
    takeText(m_layout, m_message, toastRole, true);
    breakLines(m_layout, toastRole, std::max(m_maximumWidth - around, 40));
    double widest = 0;
    for (int i = 0; i < m_layout.lineCount(); ++i)
        widest = std::max(widest, m_layout.lineAt(i).naturalTextWidth());
    m_capsule = {static_cast<int>(std::ceil(widest)) + around,
                 std::max(m_layout.lineCount(), 1) * lineHeight(toastRole) + 2 * toastTopPadding};
    const QPoint corner = m_bottomCenter - QPoint(m_capsule.width() / 2, m_capsule.height());
    setGeometry(
        QRect(corner, m_capsule).adjusted(-shadowMargin, -shadowMargin, shadowMargin, shadowMargin + travel));
    m_action->setGeometry(QRect({shadowMargin + m_capsule.width() - toastSidePadding / 2 - button,
                                 shadowMargin + (m_capsule.height() - m_action->sizeHint().height()) / 2},
                                m_action->sizeHint()));
    update();
}

void Toast::clear()
{
    m_slide->stop();
    m_dismissal.stop();
    m_presence = 0;
    m_onAction = {};
    hide();
    if (m_message.isEmpty())
        return;
    m_message.clear();
    setAccessibleName({});
    Q_EMIT dismissed();
}

} // namespace kestrune

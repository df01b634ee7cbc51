// SPDX-License-Identifier: MIT
#include "statusbar/popover.h"

#include "statusbar/panelplacement.h"
#include "statusbar/wayland.h"
#include "ui/palette.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

#include <utility>

using namespace std::chrono_literals;

namespace kestrune {

namespace {

constexpr QSize panelSize(320, 900);
constexpr auto sameClick = 300ms;

Qt::WindowFlags popoverFlags()
{
    // A popup without a parent window is refused there; it closes when the program becomes inactive.
    if (isWayland())
        return Qt::Window | Qt::FramelessWindowHint;
    if (isGnomeXWayland()) // closes likewise
        return Qt::Tool | Qt::FramelessWindowHint;
    return Qt::Popup | Qt::FramelessWindowHint;
}

const QScreen *screenOf(const QRect &item)
{
    if (const QScreen *screen = QGuiApplication::screenAt(item.center()))
        return screen;
    return QGuiApplication::primaryScreen();
}

/// A hairline round the panel, over its content: a window of the panel's colour may lie behind it. Takes the
/// colours of the content.
class Edge : public QWidget
{
public:
    explicit Edge(QWidget *parent) : QWidget(parent) { setAttribute(Qt::WA_TransparentForMouseEvents); }

protected:
    void paintEvent(QPaintEvent *) override
    {
        const Palette &palette = paletteOf(this);
        QPainter painter(this);
        painter.setPen(QPen(blended(palette.hairline, palette.ground), 1));
        painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
    }
};

} // namespace

Popover::Popover(ContentFactory makeContent)
    : QWidget(nullptr, popoverFlags()), m_makeContent(std::move(makeContent))
{
    setWindowTitle(QStringLiteral("Kestrune Bar"));
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, &Popover::applicationStateChanged);
}

void Popover::setDark(bool dark)
{
    m_dark = dark;
    if (m_content)
        m_content->setDark(dark);
}

void Popover::showError(const QString &message)
{
    if (isVisible())
        m_content->showError(message);
    else
        m_waitingError = message;
}

void Popover::makeContent()
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    m_content = m_makeContent(this);
    m_content->setDark(m_dark);
    layout->addWidget(m_content->widget);
    m_edge = new Edge(m_content->widget);
}

void Popover::openAt(const QRect &item)
{
    const QScreen *screen = screenOf(item);
    if (!screen)
        return;
    if (!m_content)
        makeContent();
    discardClosedWindow();
    m_item = item;
    const QRect place = placePanel(item, panelSize, screen->availableGeometry());
    m_content->setMaximumHeight(place.height());
    setFixedSize(place.size());
    resize(place.size()); // the window system may have told of an earlier size since it closed
    m_edge->setGeometry(rect());
    m_edge->raise();
    move(place.topLeft());
    show();
    raise();
    if (!m_waitingError.isEmpty())
        m_content->showError(std::exchange(m_waitingError, {}));
    QMetaObject::invokeMethod(
        this, [this] { activateWindow(); }, Qt::QueuedConnection);
}

void Popover::discardClosedWindow()
{
    // Qt keeps the window object of a closed widget and connects it to the application at each new focus, but
    // does not disconnect it when it is closed with the focus: a change of focus in the panel would be
    // announced as often as the panel has been opened.
    if (windowHandle() && !windowHandle()->handle())
        destroy();
}

bool Popover::hasJustClosed() const
{
    return m_sinceClosed.isValid() && !m_sinceClosed.hasExpired(sameClick.count());
}

void Popover::mousePressEvent(QMouseEvent *event)
{
    // A press outside closes; a left one is not passed on to our own item, which would open the panel again,
    // nor a right one, which the toolkit passes on to where it believes the item to be.
    const QPoint where = event->globalPosition().toPoint();
    const bool outside = !rect().contains(event->position().toPoint());
    const bool menu = outside && event->button() == Qt::RightButton && m_item.contains(where);
    if (menu || (outside && event->button() == Qt::LeftButton))
        setAttribute(Qt::WA_NoMouseReplay);
    QWidget::mousePressEvent(event);
    if (menu)
        Q_EMIT itemMenuRequested(where);
    // A corner that the mask leaves out is outside too.
    if (!mask().isEmpty() && !mask().contains(event->position().toPoint()))
        close();
}

void Popover::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QWidget::keyPressEvent(event);
}

void Popover::showEvent(QShowEvent *event)
{
    m_wasActive = QGuiApplication::applicationState() == Qt::ApplicationActive;
    QWidget::showEvent(event);
}

void Popover::hideEvent(QHideEvent *event)
{
    m_sinceClosed.start();
    QWidget::hideEvent(event);
}

void Popover::applicationStateChanged(Qt::ApplicationState state)
{
    if (!isVisible())
        return;
    // Opening may pass through inactive, so only the loss of what was there counts. Own menus and dialogs
    // keep the program active.
    if (state == Qt::ApplicationActive)
        m_wasActive = true;
    else if (m_wasActive)
        close();
}

} // namespace kestrune

// SPDX-License-Identifier: MIT
#include "statusbar/desktop/statusitemchooser.h"

#include "statusbar/desktop/notifieritem.h"
#include "statusbar/desktop/stripitem.h"
#include "statusbar/desktop/xembeditem.h"

#include <utility>

using namespace std::chrono_literals;

namespace kestrune {

namespace {

constexpr auto restartWait = 1s; // a bar that is restarted comes back within that

} // namespace

StatusItemChooser::StatusItemChooser(const QDBusConnection &connection, Preferences &preferences,
                                     const QList<QAction *> &menu, const Options &options)
    : m_connection(connection)
    , m_preferences(preferences)
    , m_menu(menu)
    , m_options(options)
    , m_notifierWatch(connection)
    , m_shellWatch(connection, options.yieldsTo)
{
    connect(&m_trayWatch, &TrayWatch::ownerChanged, this, &StatusItemChooser::trayChanged);
    connect(&m_trayWatch, &TrayWatch::valueChanged, this, &StatusItemChooser::checkBar);
    connect(&m_notifierWatch, &NotifierWatch::changed, this, &StatusItemChooser::hostsChanged);
    connect(&m_shellWatch, &NameWatch::changed, this, &StatusItemChooser::hostsChanged);
    m_wait.setSingleShot(true);
    m_wait.setTimerType(Qt::PreciseTimer); // a coarse one may end a quarter of a second early
    connect(&m_wait, &QTimer::timeout, this, [this] {
        m_waited = true;
        choose();
    });
    m_wait.start(m_options.hostWait);
}

StatusItemChooser::~StatusItemChooser() = default;

DesktopFacts StatusItemChooser::facts() const
{
    return {.stripForced = m_options.stripForced,
            .elsewhere = !m_shellWatch.owner().isEmpty(),
            .tray = m_trayWatch.owner() != XCB_WINDOW_NONE && !m_squeezed,
            .trayIsLate = m_unanswered,
            .unlisted = m_unlisted,
            .notifier = m_notifierWatch.host(),
            .waited = m_waited,
            .bling = m_content && m_content->bling};
}

void StatusItemChooser::trayChanged()
{
    m_squeezed = false; // another tray may have more room
    m_unanswered = false;
    m_tray.reset(); // its window went with the old one
    m_presentation.tray = false;
    hostsChanged();
}

void StatusItemChooser::hostsChanged()
{
    if (m_waited && !m_wait.isActive() && !m_presentation.strip) {
        m_waited = false;
        m_wait.start(restartWait);
    }
    choose();
}

void StatusItemChooser::show(const StatusItemContent &content)
{
    const bool chooseAgain = !m_content || m_content->bling != content.bling;
    m_content = content;
    if (chooseAgain)
        choose();
    for (StatusItem *item :
         std::initializer_list<StatusItem *>{m_tray.get(), m_notifier.get(), m_strip.get()}) {
        if (item)
            item->show(content);
    }
}

void StatusItemChooser::choose()
{
    if (m_content) // nothing to show before the first picture
        apply(choosePresentation(facts()));
}

void StatusItemChooser::apply(const Presentation &next)
{
    m_presentation = next;
    if (!next.tray)
        m_tray.reset();
    else if (!m_tray)
        makeTray();
    if (next.notifier) {
        makeOrRegisterNotifier();
    } else {
        m_notifier.reset();
        m_unlisted = false;
    }
    if (!next.strip) {
        m_strip.reset();
    } else if (!m_strip) {
        m_strip = std::make_unique<StripItem>(m_preferences);
        forward(*m_strip);
        m_strip->show(*m_content);
    }
    checkBar();
}

void StatusItemChooser::checkBar()
{
    // Both kinds of host that keep wide pictures come dark, and so does the shell's bar.
    const auto isHost = [this](NotifierHost kind) { return m_notifier && m_notifierWatch.host() == kind; };
    const BarColors bar{.text = m_tray ? m_trayWatch.textColor() : std::nullopt,
                        .usuallyDark = isHost(NotifierHost::wide) || isHost(NotifierHost::shell)};
    if (std::exchange(m_bar, bar) != bar)
        Q_EMIT barChanged(bar);
}

void StatusItemChooser::makeTray()
{
    m_tray = std::make_unique<XEmbedItem>(m_trayWatch);
    forward(*m_tray);
    connect(
        m_tray.get(), &XEmbedItem::squeezed, this,
        [this] {
            m_squeezed = true;
            choose();
        },
        Qt::QueuedConnection); // the item goes away in there
    const auto setUnanswered = [this](bool unanswered) {
        if (std::exchange(m_unanswered, unanswered) != unanswered)
            choose();
    };
    connect(m_tray.get(), &XEmbedItem::unanswered, this, [setUnanswered] { setUnanswered(true); });
    connect(m_tray.get(), &XEmbedItem::docked, this, [setUnanswered] { setUnanswered(false); });
    m_tray->show(*m_content);
}

void StatusItemChooser::makeOrRegisterNotifier()
{
    const NotifierHost host = *m_notifierWatch.host();
    if (m_notifier) {
        if (m_registeredWith != m_notifierWatch.generation())
            m_notifier->registerWith(host);
    } else {
        m_notifier = std::make_unique<NotifierItem>(m_connection, host, m_menu, m_options.lookAfter);
        forward(*m_notifier);
        connect(m_notifier.get(), &NotifierItem::menuAboutToShow, this, &StatusItemChooser::menuAboutToShow);
        connect(m_notifier.get(), &NotifierItem::listedChanged, this, [this](bool listed) {
            m_unlisted = !listed;
            choose();
        });
        m_notifier->show(*m_content);
    }
    m_registeredWith = m_notifierWatch.generation();
}

void StatusItemChooser::forward(StatusItem &item)
{
    connect(&item, &StatusItem::activated, this, &StatusItem::activated);
    connect(&item, &StatusItem::contextMenuRequested, this, &StatusItem::contextMenuRequested);
}

std::optional<QRect> StatusItemChooser::place() const
{
    // The strip is what one looks at where a dot stands beside it.
    if (m_strip)
        return m_strip->place();
    if (m_tray)
        return m_tray->place();
    return m_notifier ? m_notifier->place() : std::nullopt;
}

} // namespace kestrune

// SPDX-License-Identifier: MIT
#include "panel/addview.h"

#include "market/instrumentsearch.h"
#include "panel/foundrow.h"
#include "panel/marketswitch.h"
#include "platform/async.h"
#include "state/instruments.h"
#include "ui/boxlayouts.h"
#include "ui/focusring.h"
#include "ui/iconbutton.h"
#include "ui/inputfield.h"
#include "ui/scrollarea.h"
#include "ui/spinner.h"
#include "ui/textlabel.h"
#include "viewmodel/instrumenttexts.h"

#include <QKeyEvent>
#include <QScrollBar>

#include <algorithm>
#include <chrono>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int addMargin = 14;
constexpr auto typingPause = 250ms;
constexpr int pageOfRows = 8;

} // namespace

AddView::AddView(const PanelContext &context, QWidget *parent)
    : QWidget(parent)
    , m_context(context)
    , m_market(new MarketSwitch(Chip::Look::segment))
    , m_field(new InputField(u"查找标的"_s))
    , m_spinner(new Spinner)
    , m_status(new TextLabel({}, TypeRole::caption, Tone::secondary))
    , m_area(new ScrollArea)
{
    setAttribute(Qt::WA_WindowPropagation);
    setAccessibleName(u"添加标的"_s);
    setFixedSize(viewSize);
    auto *column = columnIn(this, 10, {0, addMargin, 0, addMargin - 2});
    auto *close = new IconButton(u"xmark.circle.fill"_s);
    column->addWidget(makeTitleRow(close));
    auto *entry = rowIn(nullptr, 0, {addMargin, 0, addMargin, 0});
    entry->addWidget(m_field);
    column->addLayout(entry);
    auto *status = rowIn(nullptr, rowSpacing, {addMargin, 0, addMargin, 0});
    m_status->setWrap(true);
    status->addWidget(m_spinner);
    status->addWidget(m_status, 1);
    column->addLayout(status);
    auto *rows = new QWidget;
    columnIn(rows, 2, {addMargin - 6, 0, addMargin - 6, 0})->addStretch(1);
    m_area->setWidget(rows);
    rows->setAutoFillBackground(false);
    column->addWidget(m_area, 1);
    auto *keys = rowIn(nullptr, 0, {addMargin, 0, addMargin, 0});
    auto *hint = new TextLabel(u"↑ ↓ 选择 · 回车添加 · Esc 关闭"_s, TypeRole::tag, Tone::secondary);
    keys->addWidget(hint);
    keys->addStretch(1);
    column->addLayout(keys);
    new FocusRing(this);
    QList<QWidget *> stops = m_market->tabStops();
    stops << close;
    QWidget *before = m_field; // where the keyboard begins
    for (QWidget *stop : std::as_const(stops)) {
        setTabOrder(before, stop);
        before = stop;
    }

    m_typing.setSingleShot(true);
    m_typing.setInterval(typingPause);
    connect(&m_typing, &QTimer::timeout, this, [this] { ask(Typed::search); });
    m_field->installEventFilter(this);
    connect(m_field, &InputField::textChanged, this, &AddView::textChanged);
    connect(m_field, &InputField::returnPressed, this, &AddView::confirm);
    connect(m_market, &MarketSwitch::marketPicked, this, [this](MarketSegment segment) {
        setMarket(segment);
        m_field->setFocus(Qt::OtherFocusReason);
    });
}

AddView::~AddView() = default;

QWidget *AddView::makeTitleRow(IconButton *close)
{
    auto *row = new QWidget;
    auto *line = rowIn(row, rowSpacing, {addMargin, 0, addMargin - 4, 0}); // the icon ends at the margin
    close->setTip(u"关闭"_s);
    connect(close, &IconButton::clicked, this, &AddView::closeRequested);
    line->addWidget(new TextLabel(u"添加标的"_s, TypeRole::headline));
    line->addStretch(1);
    line->addWidget(m_market);
    line->addWidget(close);
    return row;
}

void AddView::begin()
{
    const QSignalBlocker quiet(m_field);
    m_field->clear();
    setMarket(m_context.state.market());
    m_field->setFocus(Qt::PopupFocusReason);
}

void AddView::setMarket(MarketSegment segment)
{
    m_segment = segment;
    m_market->setMarket(segment);
    m_field->setPlaceholderText(searchPrompt(segment));
    show({});
    ask(Typed::search);
}

// What is still being composed by an input method is no text yet.
void AddView::textChanged()
{
    m_waiting = true;
    m_confirmed = false;
    ++m_question;
    m_typing.start();
}

void AddView::ask(Typed what)
{
    m_typing.stop();
    const int question = ++m_question;
    const QString text = m_field->text().trimmed();
    m_waiting = true;
    if (what == Typed::code) {
        const auto code = codeFromTyped(m_segment, text);
        if (!code) {
            answered(u"没有找到「%1」"_s.arg(text));
            return;
        }
        say(u"正在查询 %1…"_s.arg(*code), true);
        startInBackground(this, [this, segment = m_segment, code = *code, question] {
            return tryCode(m_context.state.shared_from_this(), this, segment, code, question);
        });
        return;
    }
    if (text.isEmpty() && m_segment != MarketSegment::crypto) {
        show({});
        answered(u"输入%1"_s.arg(searchPrompt(m_segment)));
        return;
    }
    say(u"搜索中…"_s, true);
    startInBackground(this, [this, segment = m_segment, text, question] {
        return search(m_context.state.shared_from_this(), this, segment, text, question);
    });
}

QCoro::Task<> AddView::search(std::shared_ptr<AppState> state, QPointer<AddView> view, MarketSegment segment,
                              QString text, int question)
{
    const auto held = std::move(state);
    const bool crypto = segment == MarketSegment::crypto;
    const InstrumentSearch &service = held->instrumentSearch();
    Result<std::vector<Found>> found = std::vector<Found>();
    if (crypto)
        found = co_await service.crypto();
    else
        found = co_await service.stocks(segment, text);
    if (!view || view->m_question != question)
        co_return;
    if (found && crypto)
        found = matching(*found, text);
    view->show(found ? *found : std::vector<Found>());
    if (found)
        view->answered(found->empty() ? u"没有找到「%1」"_s.arg(text) : QString());
    else
        view->answered(found.error().message);
}

QCoro::Task<> AddView::tryCode(std::shared_ptr<AppState> state, QPointer<AddView> view, MarketSegment segment,
                               QString code, int question)
{
    const auto held = std::move(state);
    const bool answers = co_await held->instrumentSearch().answers(segment, code);
    if (!view || view->m_question != question)
        co_return;
    if (answers)
        view->choose(code, {});
    else
        view->answered(u"没有找到「%1」"_s.arg(code));
}

void AddView::say(const QString &text, bool busy)
{
    m_spinner->setVisible(busy);
    m_status->setText(text);
    m_status->setVisible(!text.isEmpty());
}

/// The text in the field is answered; `note` tells what else there is to say than the rows.
void AddView::answered(const QString &note)
{
    m_waiting = false;
    say(note);
    if (std::exchange(m_confirmed, false))
        confirm();
}

void AddView::show(const std::vector<Found> &found)
{
    const auto count = int(std::min(found.size(), std::size_t(mostRows)));
    auto *column = static_cast<QVBoxLayout *>(m_area->widget()->layout());
    while (int(m_rows.size()) < count) {
        auto *row = new FoundRow;
        connect(row, &FoundRow::clicked, this, [this, row] { choose(row->symbol(), row->name()); });
        column->insertWidget(int(m_rows.size()), row);
        m_rows.push_back(row);
    }
    const InstrumentBook &book = m_context.state.instruments();
    for (int i = 0; i < int(m_rows.size()); ++i) {
        FoundRow *row = m_rows[std::size_t(i)];
        if (i < count) {
            const Found &each = found[std::size_t(i)];
            row->setContent(each.symbol, each.name, book.contains(each.symbol));
        }
        row->setVisible(i < count);
    }
    m_shown = count;
    m_area->verticalScrollBar()->setValue(0);
    mark(count > 0 ? 0 : -1);
}

void AddView::mark(int index)
{
    m_marked = index;
    for (int i = 0; i < m_shown; ++i)
        m_rows[std::size_t(i)]->setChecked(i == index);
    QString heard;
    if (index >= 0) {
        m_area->ensureWidgetVisible(m_rows[std::size_t(index)], 0, 4);
        heard = m_rows[std::size_t(index)]->accessibleName();
    }
    // The keyboard stays in the field; a reader hears of the mark by the field's description.
    m_field->setAccessibleDescription(heard);
}

void AddView::confirm()
{
    if (m_waiting) {
        m_confirmed = true;
        if (m_typing.isActive())
            ask(Typed::search);
    } else if (m_marked >= 0) {
        m_rows[std::size_t(m_marked)]->click();
    } else if (!m_field->text().trimmed().isEmpty()) {
        ask(Typed::code);
    }
}

void AddView::choose(const QString &symbol, const QString &name)
{
    InstrumentBook &book = m_context.state.instruments();
    const bool listed = book.contains(symbol);
    if (listed && !name.isEmpty())
        book.noteName(symbol, name);
    if (listed || book.add(m_segment, symbol, name))
        Q_EMIT chosen(m_segment, symbol);
    else
        answered(u"列表已满，先移除一个标的"_s);
}

bool AddView::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_field || event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent *>(event)->key();
    const int step = key == Qt::Key_Down       ? 1
                     : key == Qt::Key_Up       ? -1
                     : key == Qt::Key_PageDown ? pageOfRows
                     : key == Qt::Key_PageUp   ? -pageOfRows
                                               : 0;
    if (step == 0)
        return false;
    if (m_shown > 0)
        mark(std::clamp(m_marked + step, 0, m_shown - 1));
    return true;
}

void AddView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        Q_EMIT closeRequested();
    else
        QWidget::keyPressEvent(event);
}

} // namespace kestrune

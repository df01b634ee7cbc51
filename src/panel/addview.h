// SPDX-License-Identifier: MIT
#pragma once

#include "panel/panelcontext.h"
#include "ui/accessibility.h"

#include <QCoroTask>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <memory>
#include <vector>

namespace kestrune {

class FoundRow;
struct Found;
class IconButton;
class InputField;
class MarketSwitch;
class ScrollArea;
class Spinner;
class TextLabel;

/// Finds an instrument by code, name or pinyin and adds it to its segment's list: the results while typing,
/// one of them marked, which Return adds. What is in the list already is only selected.
class AddView : public QWidget, public WithRole<QAccessible::Dialog>
{
    Q_OBJECT

public:
    static constexpr QSize viewSize{296, 400};
    static constexpr int mostRows = 50;

    explicit AddView(const PanelContext &context, QWidget *parent = nullptr);
    ~AddView() override;

    /// Begins anew in the selected segment, with the keyboard in the field.
    void begin();

    [[nodiscard]] QSize sizeHint() const override { return viewSize; }

Q_SIGNALS:
    /// It is in its segment's list.
    void chosen(MarketSegment segment, const QString &symbol);
    void closeRequested();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    enum class Typed { search, code }; ///< whether a text is looked for or taken as a code

    [[nodiscard]] QWidget *makeTitleRow(IconButton *close);
    void setMarket(MarketSegment segment);
    void textChanged();
    void ask(Typed what);
    void say(const QString &text, bool busy = false);
    void show(const std::vector<Found> &found);
    void answered(const QString &note);
    void mark(int index);
    void confirm();
    void choose(const QString &symbol, const QString &name);
    static QCoro::Task<> search(std::shared_ptr<AppState> state, QPointer<AddView> view,
                                MarketSegment segment, QString text, int question);
    static QCoro::Task<> tryCode(std::shared_ptr<AppState> state, QPointer<AddView> view,
                                 MarketSegment segment, QString code, int question);

    PanelContext m_context;
    MarketSegment m_segment = MarketSegment::crypto;
    MarketSwitch *m_market;
    InputField *m_field;
    Spinner *m_spinner;
    TextLabel *m_status;
    ScrollArea *m_area;
    std::vector<FoundRow *> m_rows; // shown ones first
    int m_shown = 0;
    int m_marked = -1;
    QTimer m_typing;
    int m_question = 0;       ///< counts what was asked; answers to earlier ones are dropped
    bool m_waiting = false;   ///< for the answer to the text in the field
    bool m_confirmed = false; ///< Return was pressed before that answer
};

} // namespace kestrune

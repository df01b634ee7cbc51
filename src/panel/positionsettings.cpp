// SPDX-License-Identifier: MIT
#include "panel/positionsettings.h"

#include "ui/boxlayouts.h"
#include "ui/choicerow.h"
#include "ui/helptitle.h"
#include "ui/iconbutton.h"
#include "ui/inputfield.h"
#include "ui/textlabel.h"
#include "viewmodel/settingsinput.h"

#include <algorithm>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int fieldWidth = 112;

QStringList marginModeNames()
{
    QStringList names;
    for (const MarginMode mode : allMarginModes)
        names.append(rawValue(mode));
    return names;
}

TextLabel *makeNote(const QString &text)
{
    auto *note = new TextLabel(text, TypeRole::caption, Tone::secondary);
    note->setWrap(true);
    note->setAlignment(Qt::AlignRight);
    return note;
}

} // namespace

PositionSettings::PositionSettings(const PanelContext &context, QWidget *parent)
    : QWidget(parent)
    , m_context(context)
    , m_account(new InputField(u"账户总额"_s))
    , m_risk(new InputField(u"单笔最多亏 (%)"_s))
    , m_leverage(new InputField(u"开单杠杆 (x)"_s))
    , m_leverageTitle(
          new HelpTitle(u"开单杠杆 (x)"_s, TypeRole::caption, u"加密合约杠杆；保证金 = 名义仓位 ÷ 杠杆"_s))
    , m_marginMode(new ChoiceRow(marginModeNames()))
    , m_marginTitle(new HelpTitle(u"保证金模式"_s, TypeRole::caption,
                                  u"逐仓：保证金=仓位÷杠杆；全仓：保证金=账户总额，强平价按实际杠杆计算"_s))
    , m_explanation(new TextLabel({}, TypeRole::caption, Tone::secondary))
{
    m_account->setPlaceholderText(u"未设置"_s);
    m_explanation->setWrap(true);
    for (InputField *field : {m_account, m_risk, m_leverage}) {
        field->setAlignment(Qt::AlignRight);
        field->setFixedWidth(fieldWidth);
    }
    const auto title = [](const QString &text) { return new TextLabel(text, TypeRole::caption); };
    m_leverageRow = makeRow(m_leverageTitle, m_leverage);
    m_marginRow = makeRow(m_marginTitle, m_marginMode);
    m_stockLeverageRow = makeRow(title(u"开单杠杆 (x)"_s), makeNote(u"股票市场不能做空，固定 1x（现货）"_s));
    m_stockMarginRow = makeRow(title(u"保证金模式"_s), makeNote(u"股票现货无保证金模式"_s));

    auto *column = columnIn(this, blockSpacing);
    column->addWidget(makeRow(title(u"账户总额"_s), m_account));
    column->addWidget(makeRow(title(u"单笔最多亏 (%)"_s), m_risk));
    for (QWidget *row : {m_leverageRow, m_stockLeverageRow, m_marginRow, m_stockMarginRow})
        column->addWidget(row);
    column->addWidget(m_explanation);
    connectField(m_account, fields::account, context.state.accountSize);
    connectField(m_risk, fields::risk, context.state.riskPctPerTrade);
    connectField(m_leverage, fields::leverage, context.state.leverage);
    connect(m_marginMode, &ChoiceRow::picked, this, [&state = m_context.state](qsizetype index) {
        state.marginMode = allMarginModes[std::size_t(index)];
    });
}

QWidget *PositionSettings::makeRow(QWidget *title, QWidget *control)
{
    auto *row = new QWidget;
    auto *line = rowIn(row, rowSpacing);
    const bool isNote = qobject_cast<TextLabel *>(control) != nullptr;
    line->addWidget(title);
    if (!isNote)
        line->addStretch(1);
    line->addWidget(control, isNote ? 1 : 0, Qt::AlignVCenter); // a note stands beside its title
    row->setMinimumHeight(26); // a row keeps its height where a note stands for the control
    return row;
}

void PositionSettings::connectField(InputField *field, const NumberField &number, Published<double> &value)
{
    connect(field, &InputField::submitted, this, [this, field, &number, &value](const QString &text) {
        const NumberField::Answer answer = number.answer(text, value());
        if (answer.value)
            value = *answer.value;
        if (answer.note.isEmpty())
            return; // what was typed stays as it was typed
        field->showText(number.spelled(value()));
        Q_EMIT noted(answer.note);
    });
}

void PositionSettings::showLeverage()
{
    m_leverage->showText(fields::leverage.spelled(m_context.state.leverage()));
}

void PositionSettings::fillFields()
{
    m_account->showText(fields::account.spelled(m_context.state.accountSize()));
    m_risk->showText(fields::risk.spelled(m_context.state.riskPctPerTrade()));
    showLeverage();
}

void PositionSettings::refresh()
{
    const bool stock = m_context.state.isStock();
    m_leverageRow->setVisible(!stock);
    m_marginRow->setVisible(!stock);
    m_stockLeverageRow->setVisible(stock);
    m_stockMarginRow->setVisible(stock);
    const auto mode = std::ranges::find(allMarginModes, m_context.state.marginMode());
    m_marginMode->setCurrent(mode - allMarginModes.begin());
    m_explanation->setText(
        stock ? u"股票市场固定 1x（现货）。填了账户额，开单助手按止损距离算出建议仓位。"_s
              : u"填了账户额，开单助手会按止损距离算出建议仓位：仓位 = 账户额 × 风险% ÷ 止损距离%。"
                u"逐仓保证金 = 名义仓位 ÷ 杠杆；全仓保证金 = 账户总额，按实际杠杆计算强平价。"_s);
}

QList<QWidget *> PositionSettings::tabStops() const
{
    QList<QWidget *> stops{m_account, m_risk, m_leverageTitle->mark(), m_leverage, m_marginTitle->mark()};
    return stops << m_marginMode->tabStops();
}

} // namespace kestrune

#pragma once

#include <QWidget>

namespace kestrune {

class IconButton;
class InputField;

/// A number setting: title, optionally with help, then minus, field and plus at the right edge.
class StepperRow : public QWidget
{
    Q_OBJECT

public:
    explicit StepperRow(const QString &title, const QString &help = {}, QWidget *parent = nullptr);

    [[nodiscard]] InputField *field() const { return m_field; }
    [[nodiscard]] QList<QWidget *> tabStops() const;

Q_SIGNALS:
    void stepped(int direction); ///< -1 or +1
    void submitted(const QString &text);

private:
    [[nodiscard]] IconButton *makeStep(const QString &icon, const QString &tip, int direction);

    QString m_title;
    QWidget *m_help = nullptr; // the mark, where there is help
    IconButton *m_minus;
    InputField *m_field;
    IconButton *m_plus;
};

/// Title on the left (with an optional help mark) for a row of the settings.
[[nodiscard]] QWidget *makeSettingTitle(const QString &title, const QString &help, QWidget *&mark);

} // namespace kestrune

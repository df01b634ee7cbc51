#pragma once

#include <QScrollArea>

namespace kestrune {

/// A frameless vertical scroll area on the panel's ground. Its thin scroll bar floats over the right margin
/// of the content, so that nothing moves when it appears.
class ScrollArea : public QScrollArea
{
    Q_OBJECT

public:
    explicit ScrollArea(QWidget *parent = nullptr);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    QWidget *m_handle;
};

} // namespace kestrune

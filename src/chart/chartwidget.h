// SPDX-License-Identifier: MIT
#pragma once

#include "chart/chartpainter.h"
#include "ui/accessibility.h"
#include "ui/focusring.h"

#include <QImage>
#include <QWidget>

namespace kestrune {

/// The chart under mouse, wheel and keyboard. It changes nothing by itself but the view: what is asked for
/// goes out as signals, what came of it comes back as content.
///
/// Keys: Left and Right pan, + and - zoom, Home shows all; Up and Down go from one zone or bell to the next,
/// with Shift over every price; Return picks the zone, or takes up the bell and puts it down again; A sets an
/// alert.
class ChartWidget : public QWidget, public FocusShape, public SelfDescribing
{
    Q_OBJECT

public:
    explicit ChartWidget(QWidget *parent = nullptr);
    ~ChartWidget() override;

    void setContent(ChartContent content);
    [[nodiscard]] const ChartContent &content() const { return m_content; }
    [[nodiscard]] const OptionalChartView &view() const { return m_view; }
    /// Lights the band of a zone that is pointed at elsewhere; none with an empty type.
    void light(double mid, const QString &type);
    /// Puts a bell that is being moved back; false when none is.
    bool putBellBack();

    [[nodiscard]] QAccessibleInterface *makeAccessible() override;
    [[nodiscard]] QRectF focusRect() const override { return QRectF(rect()).adjusted(2, 2, -2, -2); }
    [[nodiscard]] double focusRadius() const override { return 4; }

Q_SIGNALS:
    void zonePointed(double mid, const QString &type); ///< an empty type: none any more
    void zonePicked(double mid, const QString &type);
    void alertWanted(double price);
    void alertMoved(const QString &id, double price);

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    enum class Drag { none, undecided, view, bell };

    [[nodiscard]] const ChartScene &scene();
    void setView(const OptionalChartView &view);
    void pointAt(const std::optional<QPointF> &place);
    void changed();
    [[nodiscard]] ChartPointer pointer();
    [[nodiscard]] std::optional<std::size_t> lit();
    void announceLit();
    void pick(std::size_t zone);
    void moveBell(double y);
    void putDownBell();
    void goToNext(bool up);
    void goBy(double pixels);
    void activate();
    void updateTexts();

    ChartContent m_content;
    OptionalChartView m_view;
    std::optional<ChartScene> m_scene; // made when it is needed
    ChartBase m_layerBase;             // what the layer was painted from
    bool m_layerDark = false;
    QImage m_layer;
    ChartWords m_words;
    std::optional<QPointF> m_place; // of the pointer
    std::optional<double> m_cursor; // the keyboard's price
    double m_litMid = 0;            // lit from elsewhere
    QString m_litType;
    QString m_announced; // the type last given with zonePointed
    double m_announcedMid = 0;
    Drag m_drag = Drag::none;
    QPointF m_press;
    double m_pressFirst = 0;
    QString m_bell; // being moved, by mouse or keyboard
    std::optional<double> m_bellPrice;
    class ZoneTable;
    ZoneTable *m_table;
};

} // namespace kestrune

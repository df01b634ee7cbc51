// SPDX-License-Identifier: MIT
#include "panel/helpview.h"
#include "ui/textlabel.h"
#include "ui/toast.h"
#include "support/bytesinuse.h"
#include "support/testregistry.h"

#include <QPainter>
#include <QScrollArea>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

bool hasColour(const QImage &image)
{
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y).saturation() > 100)
                return true;
        }
    }
    return false;
}

/// Ink of a text at a scale, in square units of its own coordinates.
double inkArea(const QString &text, double scale)
{
    QImage image((QSizeF(200, 20) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.scale(scale, scale);
        painter.setPen(Qt::white);
        drawTextLine(painter, {2, 2}, text, TypeRole::caption);
    }
    double sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            sum += qAlpha(image.pixel(x, y)) / 255.0;
    }
    return sum / (scale * scale);
}

/// Lowest row of `image` that differs from its top left pixel.
int lastInkedRow(const QImage &image)
{
    for (int y = image.height() - 1; y >= 0; --y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) != image.pixel(0, 0))
                return y;
        }
    }
    return -1;
}

} // namespace

class TextsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void linesHaveTheHeightOfTheirRole();
    void digitsStandOnEqualWidths();
    void chineseIsNotEmboldened();
    void keptGlyphsCostLittleMoreThanTheirPixels();
    void sameSizeNeedsNoNewLayout();
    void emojiAreDrawnInColour();
    void helpWrapsWithNothingCut();
    void toastShowsTheLatest();
    void toastEndsWithItsPanel();
};

void TextsTest::linesHaveTheHeightOfTheirRole()
{
    // Mixed scripts come from families of different line heights.
    for (const QString &text : {u"ETH"_s, u"更新"_s, u"ETH 更新 ⚠️ 🔔"_s, QString()}) {
        TextLabel label(text, TypeRole::caption);
        QCOMPARE(label.sizeHint().height(), 15); // 11 x 1.35
        label.setWrap(true);
        QCOMPARE(label.heightForWidth(1000), 15);
    }
    TextLabel label(u"一二三四五六七八九十"_s, TypeRole::caption);
    label.setWrap(true);
    QCOMPARE(label.heightForWidth(56), 2 * 15); // five to a line
    QCOMPARE(label.heightForWidth(1), 10 * 15);
}

void TextsTest::digitsStandOnEqualWidths()
{
    for (const TypeRole role : {TypeRole::price, TypeRole::caption, TypeRole::zonePrice}) {
        const int width = textWidth(u"0000000000"_s, role);
        for (char16_t digit = u'1'; digit <= u'9'; ++digit)
            QCOMPARE(textWidth(QString(10, QChar(digit)), role), width);
    }
}

void TextsTest::chineseIsNotEmboldened()
{
    // Large glyphs are always drawn from their outlines: small ones must carry as much ink for their size.
    const QString text = u"更新 摆动 多指标确认 设提醒"_s;
    const double outline = inkArea(text, 16);
    for (const double scale : {1.0, 1.25, 2.0})
        QVERIFY2(test::closeTo(inkArea(text, scale) / outline, 1, 0.03),
                 qPrintable(QString::number(inkArea(text, scale) / outline)));
}

void TextsTest::keptGlyphsCostLittleMoreThanTheirPixels()
{
    constexpr int colours = 100;
    QImage image(40, 20, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    const auto draw = [&painter](int blue) {
        painter.setPen(QColor(1, 2, blue));
        drawTextLine(painter, {2, 2}, u"更新"_s, TypeRole::caption);
    };
    draw(0);
    const qint64 before = test::bytesInUse();
    for (int i = 1; i <= colours; ++i)
        draw(i);
    const qint64 each = (test::bytesInUse() - before) / (2 * colours);
    QVERIFY2(each < 2048, qPrintable(u"%1 bytes for a glyph of eleven pixels"_s.arg(each)));
}

void TextsTest::sameSizeNeedsNoNewLayout()
{
    QWidget window;
    auto *column = new QVBoxLayout(&window);
    auto *label = new TextLabel(u"3,456.78"_s, TypeRole::price);
    column->addWidget(label);
    window.show();
    QCoreApplication::sendPostedEvents();
    struct Counter : QObject
    {
        int requests = 0;
        bool eventFilter(QObject *, QEvent *event) override
        {
            requests += event->type() == QEvent::LayoutRequest;
            return false;
        }
    } counter;
    window.installEventFilter(&counter);
    label->setText(u"3,460.12"_s);
    QCoreApplication::sendPostedEvents();
    QCOMPARE(counter.requests, 0);
    label->setText(u"13,460.12"_s);
    QCoreApplication::sendPostedEvents();
    QVERIFY(counter.requests > 0);
}

void TextsTest::emojiAreDrawnInColour()
{
    for (const QString &text : {u"🔔"_s, u"⚠️"_s}) { // the second one with its variation selector
        TextLabel label(text, TypeRole::body);
        label.resize(label.sizeHint());
        QVERIFY2(hasColour(label.grab().toImage()), qPrintable(text));
    }
}

void TextsTest::helpWrapsWithNothingCut()
{
    HelpView help;
    help.show();
    QCOMPARE(help.size(), QSize(380, 460));
    QCOMPARE(helpParagraphs().size(), std::size_t(17));
    const auto labels = help.findChildren<TextLabel *>();
    const auto shows = [&labels](const QString &text) {
        return std::any_of(labels.begin(), labels.end(),
                           [&](const TextLabel *l) { return l->text() == text; });
    };
    for (const HelpParagraph &paragraph : helpParagraphs())
        QVERIFY(shows(paragraph.title) && shows(paragraph.text));
    auto *area = help.findChild<QScrollArea *>();
    QVERIFY(area->widget()->width() <= 380);
    for (TextLabel *label : labels) {
        // Wide and high enough for every line, and the last line really is on the picture.
        const bool wraps = label->hasHeightForWidth();
        QVERIFY2(wraps || label->width() >= label->sizeHint().width(), qPrintable(label->text()));
        if (wraps)
            QCOMPARE(label->height(), label->heightForWidth(label->width()));
        QImage image(label->size(), QImage::Format_RGB32);
        image.fill(Qt::white);
        label->render(&image, {}, {}, QWidget::DrawChildren);
        QVERIFY2(lastInkedRow(image) >= label->height() - 8, qPrintable(label->text()));
    }
}

void TextsTest::toastShowsTheLatest()
{
    QWidget panel;
    panel.resize(320, 400);
    auto *toast = new Toast(&panel);
    toast->setAnchor({160, 380}, 292);
    panel.show();
    QSignalSpy gone(toast, &Toast::dismissed);
    toast->present(u"第一条"_s, false);
    QTest::qWait(1600);
    toast->present(u"第二条"_s, true);
    QTest::qWait(1600); // 3.2 s after the first one, whose time would be over
    QCOMPARE(toast->message(), u"第二条"_s);
    QVERIFY(toast->isVisible() && toast->isError());
    QCOMPARE(gone.count(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(gone.count(), 1, 2500);
    QVERIFY(!toast->isVisible());

    // A long message wraps and stays inside the panel.
    toast->present(u"刷新失败："_s + QString(60, u'网'), true);
    QVERIFY(toast->geometry().left() >= 0 && toast->geometry().right() < 320);
}

void TextsTest::toastEndsWithItsPanel()
{
    QWidget panel;
    panel.resize(320, 400);
    auto *toast = new Toast(&panel);
    panel.show();
    toast->present(u"已刷新"_s, false);
    QVERIFY(toast->isVisible());
    panel.hide();
    QVERIFY(toast->message().isEmpty());
    panel.show();
    QVERIFY(!toast->isVisible());
    panel.hide();
    toast->present(u"没人看见"_s, false);
    panel.show();
    QVERIFY(!toast->isVisible());
}

KESTRUNE_TEST(TextsTest)
#include "tst_texts.moc"

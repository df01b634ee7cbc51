// SPDX-License-Identifier: MIT
#include "line/barline.h"
#include "line/barrecord.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QXmlStreamReader>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

class BarLineTest : public QObject
{
    Q_OBJECT
    static BarRecord record(const QString &text, const char *states, const QString &tooltip = u"a\nb"_s)
    {
        return {text, tooltip, QString::fromLatin1(states).split(u' '), 42, 1.5, "{\"schema\":1}"};
    }
    static QByteArray line(const BarRecord &record, const QString &format)
    {
        return formatLine(record, lineFormat(format).value());
    }

private Q_SLOTS:
    void everyFormatInItsOwnWords()
    {
        const struct
        {
            const char *name, *states, *line, *text = "ETH  3,456";
        } rows[] = {
            {"waybar", "buy demo",
             "{'alt':'buy','class':['buy','demo'],'percentage':42,'text':'ETH  3,456','tooltip':'a\\nb'}"},
            {"i3bar", "sell",
             "[{'color':'#ff5a50','full_text':'ETH  "
             "3,456','markup':'none','name':'kestrune-bar','urgent':false}]"},
            {"i3bar", "neutral alert",
             "[{'color':'#ff9f0a','full_text':'ETH  "
             "3,456','markup':'none','name':'kestrune-bar','urgent':true}]"},
            {"polybar", "neutral", "ETH  3,456"},
            {"polybar", "buy stale", "%{F#8e8e93}ETH  3,456%{F-}"},
            {"polybar", "buy", "%{F#32d15b}5% % {F#f00}%{F-}", "5% %{F#f00}"},
            {"xfce", "sell closed",
             "<txt><span foreground=\"#ff5a50\">A&amp;B &lt;3</span></txt><tool>a&#10;b</tool>"
             "<txtclick>kestrune-bar</txtclick>",
             "A&B <3"},
            {"argos", "neutral", "A¦B | useMarkup=false unescape=false emojize=false ansi=false", "A|B"},
            {"argos", "buy",
             "ETH  3,456 | useMarkup=false unescape=false emojize=false ansi=false color=#32d15b"},
            {"tmux", "buy", "#[fg=green]##[fg=red]A###[default]", "#[fg=red]A#"},
            {"tmux", "sell stale alert", "#[fg=colour208]ETH  3,456#[default]"},
            {"plain", "sell stale alert closed", "ETH  3,456 [sell stale alert closed]"},
            {"plain", "neutral", "ETH  3,456"},
            {"json", "neutral", "{'schema':1}"},
        };
        forEachRow(rows, [](const auto &row) {
            QCOMPARE(line(record(QString::fromUtf8(row.text), row.states), QString::fromLatin1(row.name)),
                     QByteArray(row.line).replace('\'', '"') + '\n');
        });
        QVERIFY(!lineFormat(u"Waybar") && !lineFormat(u""));
        QCOMPARE(lineFormatNames(), u"waybar, i3bar, polybar, xfce, argos, tmux, plain, json"_s);
        for (const QString &name : lineFormatNames().split(u", "_s))
            QCOMPARE(linesBegin(*lineFormat(name)).isEmpty(), name != u"i3bar");
    }

    void whateverTheTextALineStaysALineAndMarkupIsWhole()
    {
        for (const QString &odd :
             {u"a\nb\r\tc\u2028d\u2029e\u0085f"_s, u"<b>&amp;'\"</b></txt>"_s, u"\u001b[31m\u0007"_s,
              QString(QChar(0xD800)) + QChar(u'\0'), u"%{A1:reboot:}#(reboot)|bash=x"_s,
              QString(5000, QChar(u'錢')), u"中文 😀 \\ \\n"_s}) {
            const BarRecord made = record(odd, "buy", odd);
            for (const QString &format : lineFormatNames().split(u", "_s)) {
                const QByteArray text = line(made, format);
                QVERIFY2(text.indexOf('\n') == text.size() - 1, qPrintable(format));
                QVERIFY2(QString::fromUtf8(text).toUtf8() == text && !text.contains('\0'),
                         qPrintable(format));
            }
            const auto json = QJsonDocument::fromJson(line(made, u"waybar"_s)).object();
            QXmlStreamReader xml(u"<all>"_s + QString::fromUtf8(line(made, u"xfce"_s)) +
                                 json[u"text"].toString() + json[u"tooltip"].toString() + u"</all>"_s);
            while (!xml.atEnd())
                xml.readNext();
            QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
            const QJsonValue block = QJsonDocument::fromJson(line(made, u"i3bar"_s)).array()[0];
            QCOMPARE(block[u"full_text"].toString().size(), odd.size());
        }
    }

    void nearnessFallsFromTheZoneToTheThreshold()
    {
        const double nan = std::nan("");
        const struct
        {
            std::optional<double> distance;
            double threshold;
            int percent;
        } rows[] = {{0, 2, 100}, {0.5, 2, 75}, {1.999, 2, 0}, {2, 2, 0},  {7, 2, 0},     {{}, 2, 0},
                    {nan, 2, 0}, {1, nan, 0},  {0, 0, 0},     {1, -1, 0}, {0.01, 2, 100}};
        for (const auto &row : rows)
            QCOMPARE(nearness(row.distance, row.threshold), row.percent);
    }
};

KESTRUNE_TEST(BarLineTest)
#include "tst_barline.moc"

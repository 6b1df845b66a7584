#include <gtest/gtest.h>

#include <QBuffer>
#include <QFile>
#include <QSettings>

#include "core/ini_format.h"
#include "support/test_env.h"

using namespace tlm;

namespace {

// Texts that each meet one rule of the INI form: quoting, escapes, lists, the "@" forms, line ends.
QStringList TrickyValues() {
    return {QString(),
            QStringLiteral("plain"),
            QStringLiteral("  spaces around  "),
            QStringLiteral("a,b"),
            QStringLiteral("x;comment?"),
            QStringLiteral("k=v"),
            QStringLiteral("say \"hi\""),
            QStringLiteral("C:\\path\\to"),
            QStringLiteral("line\nnext\r\nlast\ttab"),
            QStringLiteral("@starts with at"),
            QStringLiteral("@@two"),
            QStringLiteral("@Variant(\\0\\0\\0\\x7f)"),
            QStringLiteral("@ByteArray(raw)"),
            QStringLiteral("@Invalid()"),
            QString(QChar(0)) + QStringLiteral("12 after a nul"),
            QString(QChar(1)) + QStringLiteral("ab after a control"),
            QStringLiteral("Zürich – 東京 \U0001F600"),
            QStringLiteral("\"quoted\""),
            QStringLiteral("trailing backslash\\"),
            QStringLiteral("ends in comma,")};
}

QStringList TrickyKeys() {
    return {QStringLiteral("SmtpHost"),        QStringLiteral("MailProfile/SmtpHost"),
            QStringLiteral("A/B/C"),           QStringLiteral("with space"),
            QStringLiteral("Grüße/Schlüssel"), QStringLiteral("General/key"),
            QStringLiteral("pct%41")};
}

}  // namespace

// What this program writes, QSettings' own INI reader (the members' client) reads back the same,
// and what QSettings wrote, this reader reads the same: for every rule of the form, both ways.
TEST(IniFormat, ReadsAndWritesAsQSettingsOwnIniForm) {
    const QString dir = test::NewTempDir(QStringLiteral("ini"));
    const QStringList values = TrickyValues();
    const QStringList keys = TrickyKeys();
    const auto keyFor = [&](int k, int v) { return keys[k] + QString::number(v); };

    // Each side reads a file the other wrote under a name it never opened: QSettings keeps one
    // parsed copy per file name in the process, whatever the format.
    QSettings::SettingsMap written;
    for (int k = 0; k < keys.size(); ++k)
        for (int v = 0; v < values.size(); ++v)
            written.insert(keyFor(k, v), values[v]);
    const QString ours = dir + QStringLiteral("/ours.ini");
    {
        QFile f(ours);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        ASSERT_TRUE(WriteIniStrings(f, written));
    }
    const QString theirs = dir + QStringLiteral("/theirs.ini");
    {
        QSettings w(theirs, QSettings::IniFormat);
        for (auto it = written.cbegin(); it != written.cend(); ++it)
            w.setValue(it.key(), it.value());
        w.sync();
        ASSERT_EQ(w.status(), QSettings::NoError);
    }
    QSettings qtReadsOurs(ours, QSettings::IniFormat);
    QSettings::SettingsMap weReadTheirs;
    {
        QFile f(theirs);
        ASSERT_TRUE(f.open(QIODevice::ReadOnly));
        EXPECT_TRUE(ReadIniStrings(f, weReadTheirs));
    }
    for (int k = 0; k < keys.size(); ++k) {
        for (int v = 0; v < values.size(); ++v) {
            const QString key = keyFor(k, v);
            EXPECT_EQ(qtReadsOurs.value(key).toString(), values[v]) << key.toStdString();
            EXPECT_EQ(weReadTheirs.value(key).toString(), values[v]) << key.toStdString();
        }
    }
    EXPECT_EQ(qtReadsOurs.allKeys().size(), keys.size() * values.size());
    EXPECT_EQ(weReadTheirs.size(), keys.size() * values.size());
}

// A serialized object in the file is never decoded, however it is spelled: it stays text, and its
// neighbours read as usual.
TEST(IniFormat, SerializedObjectsStayText) {
    struct Case {
        QByteArray line;
        QString expected;
    };
    const QByteArray huge = "\\0\\0\\0\\x7f\\0\\0\\0\\nQByteArray\\xff\\xff\\xff\\xf0)";
    const Case cases[] = {
        {"v=@Variant(" + huge, QStringLiteral("@Variant(") + QString()},
        {"v=\\x40Variant(" + huge, QString()},
        {"v=\"@DateTime(\\0\\0\\0\\x10\\0)\"", QStringLiteral("@DateTime(")},
        {"v=@Rect(1 2 3 4)", QStringLiteral("@Rect(1 2 3 4)")},
    };
    for (const Case& c : cases) {
        QByteArray file = "[General]\nbefore=1\n" + c.line + "\nafter=2\n";
        QBuffer device(&file);
        ASSERT_TRUE(device.open(QIODevice::ReadOnly));
        QSettings::SettingsMap map;
        ReadIniStrings(device, map);
        EXPECT_EQ(map.value(QStringLiteral("before")).toString(), QStringLiteral("1")) << c.line.constData();
        EXPECT_EQ(map.value(QStringLiteral("after")).toString(), QStringLiteral("2")) << c.line.constData();
        const QVariant v = map.value(QStringLiteral("v"));
        EXPECT_EQ(v.typeId(), QMetaType::QString) << c.line.constData();
        EXPECT_TRUE(v.toString().startsWith(c.expected.isEmpty() ? QStringLiteral("@Variant(") : c.expected))
            << v.toString().toStdString();
    }
}

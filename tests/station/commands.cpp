#include "support/playedscenario.h"

#include <QtTest>

/// What the command files on a stick may hold, and what may be there in their place: each row is
/// one start of the station, with five archives of earlier days, to its end. A loss of power is for
/// storage_commands, which steps through every call.
class Commands : public QObject
{
    Q_OBJECT

private slots:
    void areObeyed_data();
    void areObeyed();
};

namespace {

const QByteArray kErase = "cmd_erase_datas.txt";
const QByteArray kBackup = "cmd_gen_backup.txt";

/// `content` of the stick, the number of the archive that is begun, and what to expect.
QByteArray scenarioOf(const QByteArray& content, const QByteArray& newest, const QByteArray& expect)
{
    return R"({"name": "commands", "time limit": 60, "archives": {"count": 5, "size": "4K"},
               "stick": {"content": {)" +
           content + R"(}}, "steps": [{"after": {"stick mounted": false,
               "log": "Current zip datas/000000000)" +
           newest + R"(.cvx"}, "station": "quit"}],
               "expect": {"on stick": false, )" +
           expect + "}}";
}

/// Names as JSON lists them: "34" are those of the archives 3 and 4.
QByteArray archives(const QByteArray& digits)
{
    QByteArrayList names;
    for (const char digit : digits)
        names += QByteArray("\"000000000") + digit + ".cvx\"";
    return '[' + names.join(", ") + ']';
}

QByteArray file(const QByteArray& name, const QByteArray& content)
{
    return '"' + name + "\": " + content;
}

QByteArray outcome(const QByteArray& erased, const QByteArray& left)
{
    return "\"erased archives\": " + archives(erased) + ", \"local archives\": " + archives(left);
}

} // namespace

void Commands::areObeyed_data()
{
    QTest::addColumn<QByteArray>("json");
    const QByteArray consumed = R"(, "stick lacks": [")" + kErase + "\"]";
    const auto erase = [&](const char* count, const QByteArray& erased, const QByteArray& left) {
        QTest::addRow("erase '%s'", count)
            << scenarioOf(file(kErase, QByteArray("\"") + count + '"'), left.right(1),
                          outcome(erased, left) + consumed);
    };
    erase("3", "012", "345");
    erase(" 2 \\n", "01", "2345");
    for (const char* all : {"0", "", "all of them", "-1", "99"})
        erase(all, "01234", "0");

    const QByteArray both = file(kBackup, R"("")") + ", " + file(kErase, R"("1")");
    QTest::newRow("both: backup, then erase") << scenarioOf(
        both, "0", outcome("", "0") + consumed + ", \"backup\": " + archives("43210"));

    const auto leftAlone = [](const char* name, const QByteArray& item) {
        const QByteArray expect = R"(, "stick lacks": ["backup.zip"],
            "warnings": ["Left alone, not a plain file"],
            "stick holds": [")" + kErase +
                                  "\", \"" + kBackup + "\"]";
        QTest::newRow(name) << scenarioOf(file(kErase, item) + ", " + file(kBackup, item), "5",
                                          outcome("", "012345") + expect);
    };
    leftAlone("folders", R"({"folder": true})");
    leftAlone("broken links", R"({"link": "nowhere"})");
    leftAlone("links away from the stick", R"({"link": "/opt/Corvane/version"})");

    const auto strange = [&](const char* name, const QByteArray& item, const QByteArray& said) {
        QTest::newRow(name) << scenarioOf(file(kErase, item) + ", " + file(kBackup, item), "0",
                                          outcome("", "0") + consumed + R"(, "warnings": [")" +
                                              said + R"("], "log contains": [")" + said +
                                              R"("], "backup": )" + archives("43210"));
    };
    strange("unreadable", R"({"unreadable": true})", "Cannot be read:");
    strange("of two gigabytes", R"({"size": "2G"})", "Holds no count:");
}

void Commands::areObeyed()
{
    QFETCH(QByteArray, json);
    const QString problems = playedToItsEnd(json, QStringLiteral("commands"));
    QVERIFY2(problems.isEmpty(), qPrintable(problems));
}

QTEST_GUILESS_MAIN(Commands)
#include "commands.moc"

#include "core/InventoryItem.h"

#include <QRegularExpression>
#include <QTest>

using pexi::InventoryItem;

class TestInventoryItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // A new item gets a fresh upper-case uuid and a UTC stamp in milliseconds.
    void defaults()
    {
        const InventoryItem a(QStringLiteral("Mail"));
        static const QRegularExpression uuid("^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$");
        QVERIFY2(uuid.match(a.uuid()).hasMatch(), qPrintable(a.uuid()));
        QVERIFY(a.uuid() != InventoryItem(QStringLiteral("Mail")).uuid());
        const QDateTime stamped = QDateTime::fromString(a.timestamp(), Qt::ISODateWithMs);
        QCOMPARE(stamped.timeSpec(), Qt::UTC);
        QVERIFY(qAbs(stamped.secsTo(QDateTime::currentDateTimeUtc())) < 60);
    }

    void roundTrip_data()
    {
        QTest::addColumn<InventoryItem>("item");
        const InventoryItem::Fields fields{{QStringLiteral("pin"), QStringLiteral("1234")}};
        QTest::newRow("no username, no site") << InventoryItem(QStringLiteral("Bank"), {}, "pw");
        QTest::newRow("empty username and site")
            << InventoryItem(QStringLiteral("Bank"), QString(), "pw", QString());
        QTest::newRow("all fields") << InventoryItem(
            QStringLiteral("Bank"), QStringLiteral("ann"), QStringLiteral("p\"w\\\n\t"),
            QStringLiteral("bank.example"), fields, QStringLiteral("2026-01-02T03:04:05.006Z"),
            QStringLiteral("ABC"), true);
        QTest::newRow("unicode and spaces kept")
            << InventoryItem(QStringLiteral(" Café ☕ "), QStringLiteral(" ünï "),
                             QStringLiteral("  pässwörd  "), QStringLiteral("bücher.de"));
        QTest::newRow("empty password") << InventoryItem(QStringLiteral("T"), {}, QString());
    }

    void roundTrip()
    {
        QFETCH(InventoryItem, item);
        const auto back = InventoryItem::fromJsonText(item.toJson());
        QVERIFY(back.has_value());
        QVERIFY(*back == item);
        QCOMPARE(back->username().has_value(), item.username().has_value());
        QCOMPARE(back->site().has_value(), item.site().has_value());
        QCOMPARE(back->toJson(), item.toJson());
    }

    // A vault row's text is read as the item stored under the row's uuid, and only as that.
    void readsTheItemOfItsRowOnly_data()
    {
        QTest::addColumn<QString>("inside");
        QTest::addColumn<QString>("row");
        QTest::addColumn<bool>("read");
        const auto row = [](const char *name, const QString &inside, const QString &row,
                            bool read) { QTest::newRow(name) << inside << row << read; };
        row("same", "A1", "A1", true);
        row("another", "A1", "B2", false);
        row("other case", "a1", "A1", false);
        row("a prefix", "A1", "A12", false);
        row("non-ASCII, same", QStringLiteral("Ä1"), QStringLiteral("Ä1"), true);
        row("non-ASCII, read as Latin-1", QStringLiteral("Ä1"), QString::fromLatin1("\xc3\x84\x31"),
            false);
    }

    void readsTheItemOfItsRowOnly()
    {
        QFETCH(QString, inside);
        QFETCH(QString, row);
        QFETCH(bool, read);
        const InventoryItem item(QStringLiteral("t"), {}, QStringLiteral("p"), {}, {}, {}, inside);
        QByteArray json = item.toJson().toUtf8();
        json.reserve(json.size() + 64);
        const auto back = InventoryItem::fromJson(json, row);
        QCOMPARE(back.has_value(), read);
        if (read)
            QVERIFY(*back == item);
    }

    void rejectsMalformedJson_data()
    {
        QTest::addColumn<QString>("json");
        QTest::newRow("not json") << "{";
        QTest::newRow("array") << "[]";
        QTest::newRow("missing uuid")
            << R"({"title":"t","password":"p","timestamp":"2026-01-01T00:00:00Z"})";
        QTest::newRow("empty uuid")
            << R"({"uuid":"","title":"t","password":"p","timestamp":"2026-01-01T00:00:00Z"})";
        QTest::newRow("number title")
            << R"({"uuid":"A","title":1,"password":"p","timestamp":"2026-01-01T00:00:00Z"})";
        QTest::newRow("missing password")
            << R"({"uuid":"A","title":"t","timestamp":"2026-01-01T00:00:00Z"})";
        QTest::newRow("number username") << R"({"uuid":"A","title":"t","password":"p",)"
                                            R"("timestamp":"x","username":5})";
        QTest::newRow("field not a string") << R"({"uuid":"A","title":"t","password":"p",)"
                                               R"("timestamp":"x","fields":{"a":1}})";
        QTest::newRow("deleted not a bool") << R"({"uuid":"A","title":"t","password":"p",)"
                                               R"("timestamp":"x","deleted":"yes"})";
        QTest::newRow("fields not an object") << R"({"uuid":"A","title":"t","password":"p",)"
                                                 R"("timestamp":"x","fields":[]})";
        QTest::newRow("text after the object")
            << R"({"uuid":"A","title":"t","password":"p","timestamp":"x"} {})";
    }

    void rejectsMalformedJson()
    {
        QFETCH(QString, json);
        QVERIFY(!InventoryItem::fromJsonText(json).has_value());
    }
};

QTEST_GUILESS_MAIN(TestInventoryItem)
#include "tst_inventoryitem.moc"

#include "propertyleaves.h"
#include "qapropertyattrlineedit.h"
#include "qapropertymapbool.h"
#include "qapropertymapgroup.h"
#include "qapropertymapint.h"
#include "qapropertymaplineedit.h"
#include "qapropertystore.h"

#include <QTest>

#include <memory>

namespace {

// QVariant's own equality converts across kinds; a stored value must have
// the very kind as well.
#define COMPARE_VARIANT(actual, expected)                                                          \
    do {                                                                                           \
        const QVariant a_ = (actual), e_ = (expected);                                             \
        QVERIFY2(QAProperty::variantType(a_) == QAProperty::variantType(e_) && a_ == e_,           \
                 qPrintable(QDebug::toString(a_) + " != " + QDebug::toString(e_)));               \
    } while (false)

// A leaf of \a kind under a group bound to \a store (none when null).
QAProperty* boundLeaf(QAPropertyMapGroup& root, const QString& kind, QAPropertyStore* store)
{
    QAProperty* leaf = makeMapLeaf(kind, "k");
    root.addChild(leaf);
    root.setPropertyStore(store);
    return leaf;
}

} // namespace

class tst_PropertyModel : public QObject
{
    Q_OBJECT
private slots:
    void storesResolveUpTheChainInTheirNaturalKind()
    {
        QAPropertyStore root;
        ChainedStore middle(&root);
        ChainedStore leaf(&middle);
        root.setProperty("k", "r");
        middle.setProperty("k", "m");
        leaf.setProperty("k", 3);
        COMPARE_VARIANT(leaf.property("k"), QVariant(3)); // an own value of another kind still wins
        leaf.unsetProperty("k");
        COMPARE_VARIANT(leaf.property("k"), QVariant("m"));
        QVERIFY(!leaf.hasProperty("k") && !leaf.property("held nowhere").isValid());

        leaf.setProperty("chars", "abc");
        leaf.setProperty("bytes", QByteArray("abc"));
        leaf.setProperty("float", 0.5f);
        leaf.setProperty("unsigned", 7u);
        leaf.setProperty("map", QMap<QString, QString>{{"x", "1"}});
        COMPARE_VARIANT(leaf.property("chars"), QVariant(QString("abc")));
        COMPARE_VARIANT(leaf.property("bytes"), QVariant(QString("abc")));
        COMPARE_VARIANT(leaf.property("float"), QVariant(0.5));
        COMPARE_VARIANT(leaf.property("unsigned"), QVariant(7u));
        // Map values are strings, whatever they look like.
        COMPARE_VARIANT(leaf.property("map").toMap().value("x"), QVariant(QString("1")));
    }

    void copyOnWrite_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<bool>("onCopy");
        QTest::addColumn<bool>("stillShared");
        QTest::newRow("a copy shares the map until written") << "" << true << true;
        QTest::newRow("writing the copy leaves the original") << "set" << true << false;
        QTest::newRow("writing the original leaves the copy") << "set" << false << false;
        QTest::newRow("unsetting in the copy leaves the original") << "k" << true << false;
        QTest::newRow("clearing the copy leaves the original") << "clear" << true << false;
        QTest::newRow("unsetting an absent key is no write") << "absent" << true << true;
    }
    void copyOnWrite()
    {
        QFETCH(QString, operation);
        QFETCH(bool, onCopy);
        QAPropertyStore original;
        original.setProperty("k", "v");
        QAPropertyStore copy;
        copy.setProperty("stale", true);
        copy = original;
        QAPropertyStore& written = onCopy ? copy : original;
        if (operation == "set")
            written.setProperty("k", "changed");
        else if (operation == "clear")
            written.clear();
        else if (!operation.isEmpty())
            written.unsetProperty(operation);
        QTEST(&copy.propertyMap() == &original.propertyMap(), "stillShared");
        QAPropertyStore& other = onCopy ? original : copy;
        QCOMPARE(other.propertyNames(), QStringList{"k"});
        QCOMPARE(other.property("k"), QVariant("v"));
    }

    void valueAndDisplayText_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("withStore");
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("text");
        const QVariant none;
        const QVariant emptyText(QString(""));
        const QVariant emptyList{QStringList()};
        const QString unable = "<unable display value>";
        const auto row = [&](const char* tag, const char* kind, const QVariant& stored, const QVariant& value,
                             const QString& text, bool withStore = true) {
            QTest::newRow(tag) << QString(kind) << withStore << stored << value << text;
        };
        row("digits in a string read through Int are absent", "Int", QVariant("42"), none, " ms");
        row("an unsigned is foreign to Int", "Int", QVariant(42u), none, " ms");
        row("an Int shows its suffix", "Int", QVariant(10), QVariant(10), "10 ms");
        row("an int is foreign to Bool", "Bool", QVariant(1), none, "False");
        row("a Bool shows True", "Bool", QVariant(true), QVariant(true), "True");
        row("a YesNo shows Yes or No", "YesNo", QVariant(false), QVariant(false), "No");
        row("an int is foreign to LineEdit", "LineEdit", QVariant(5), emptyText, "");
        row("a byte string is foreign to PathItem", "PathItem", QVariant(QByteArray("x")), emptyText, "");
        row("a PathItem shows its text", "PathItem", QVariant("/p"), QVariant("/p"), "/p");
        row("a string is foreign to PathBox", "PathBox", QVariant("a"), emptyList, "");
        row("a PathBox joins with commas", "PathBox", QVariant(QStringList{"a", "b c"}), QVariant(QStringList{"a", "b c"}),
            "a,b c");
        row("a ComboInt shows the label of its value", "ComboInt", QVariant(2), QVariant(2), "High");
        row("a ComboInt shows the label of zero", "ComboInt", QVariant(0), QVariant(0), "None");
        row("a ComboInt value without label", "ComboInt", QVariant(5), QVariant(5), unable);
        row("a ComboInt without value matches no label", "ComboInt", none, none, unable);
        row("a ComboString shows the label of its value", "ComboString", QVariant("-O2"), QVariant("-O2"), "Optimised");
        row("a ComboString value without label", "ComboString", QVariant("-O3"), QVariant("-O3"), unable);
        row("without a store Int is invalid", "Int", QVariant(42), none, " ms", false);
    }
    void valueAndDisplayText()
    {
        QFETCH(QString, kind);
        QFETCH(bool, withStore);
        QFETCH(QVariant, stored);
        QAPropertyStore base;
        ChainedStore store(&base);
        // Inherited, so that the kind check is seen to hold along the chain too.
        if (stored.isValid())
            base.setProperty("k", stored);
        QAPropertyMapGroup root("root");
        QAProperty* leaf = boundLeaf(root, kind, withStore ? &store : nullptr);
        QFETCH(QVariant, value);
        COMPARE_VARIANT(leaf->value(), value);
        QTEST(leaf->displayValue(), "text");
    }

    void writeOverridesAndResetRemoves_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("chained");
        QTest::addColumn<QVariant>("written");
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QVariant>("afterReset");
        const auto row = [](const char* tag, const char* kind, const QVariant& written, const QVariant& stored,
                            const QVariant& afterReset, bool chained = true) {
            QTest::newRow(tag) << QString(kind) << chained << written << stored << afterReset;
        };
        row("a LineEdit folds line ends and blank runs", "LineEdit", QVariant("  first\nsecond\r\n\t third  "),
            QVariant("first second third"), QVariant("inherited"));
        row("a PathItem keeps its blanks", "PathItem", QVariant(" a\nb "), QVariant(" a\nb "), QVariant("inherited"));
        row("an Int takes digits", "Int", QVariant("42"), QVariant(42), QVariant(7));
        row("a ComboInt takes an unsigned", "ComboInt", QVariant(2u), QVariant(2), QVariant(1));
        row("a Bool takes a number", "Bool", QVariant(1), QVariant(true), QVariant(false));
        row("a ListBox takes a string as one row", "ListBox", QVariant("a"), QVariant(QStringList{"a"}),
            QVariant(QStringList{"x"}));
        row("a ComboString takes a number", "ComboString", QVariant(7), QVariant("7"), QVariant("-g"));
        row("an Int equal to the inherited one is still an override", "Int", QVariant(7), QVariant(7), QVariant(7));
        row("a PathBox equal to the inherited one is still an override", "PathBox", QVariant(QStringList{"a"}),
            QVariant(QStringList{"a"}), QVariant(QStringList{"a"}));
        row("an Int on a root store resets to invalid", "Int", QVariant(3), QVariant(3), QVariant(), false);
        row("a LineEdit on a root store resets to empty", "LineEdit", QVariant("x"), QVariant("x"),
            QVariant(QString("")), false);
    }
    void writeOverridesAndResetRemoves()
    {
        QFETCH(QString, kind);
        QFETCH(bool, chained);
        QFETCH(QVariant, written);
        QFETCH(QVariant, afterReset);
        QAPropertyMapGroup root("root");
        QAProperty* leaf = boundLeaf(root, kind, nullptr);
        leaf->setValue(written); // no store yet: nothing happens, nothing breaks
        leaf->reset();
        QVERIFY(!leaf->isOverriden() && !leaf->isResetable());

        QAPropertyStore base;
        ChainedStore store(chained ? &base : nullptr);
        if (chained)
            base.setProperty("k", afterReset);
        root.setPropertyStore(&store);
        QCOMPARE(leaf->isResetable(), chained);
        QVERIFY(!leaf->isOverriden());
        leaf->setValue(written);
        QFETCH(QVariant, stored);
        COMPARE_VARIANT(store.property("k"), stored);
        QVERIFY(leaf->isOverriden());

        // A reset removes the key even where nothing shows through.
        leaf->reset();
        QVERIFY(!leaf->isOverriden());
        QVERIFY(!store.hasProperty("k"));
        COMPARE_VARIANT(leaf->value(), afterReset);
    }

    void groupMembership()
    {
        QAPropertyGroup a("a");
        QAPropertyGroup b("b");
        auto* leaf = new QAPropertyMapInt("x");
        auto* sub = new QAPropertyGroup("sub");
        a.addChild(leaf);
        a.addChild(sub);
        a.addChild(leaf); // already there: no second entry
        a.addChild(nullptr);
        QCOMPARE(a.count(), 2);
        QCOMPARE(a.nbGroup(), 1);
        sub->addChild(new QAPropertyMapInt("deep"));
        QVERIFY(!a.property("deep")); // no descent into subgroups
        sub->addChild(&a);            // would own its own parent
        QVERIFY(!a.parent());

        b.removeChild(leaf); // a stranger to b
        QCOMPARE(leaf->parent(), &a);
        b.addChild(leaf); // moves
        QCOMPARE(leaf->parent(), &b);
        QCOMPARE(a.count(), 1);
        delete leaf; // a dying leaf leaves its group
        QCOMPARE(b.count(), 0);
        // The sanitizer's leak check sees whether a deletes sub and its child.
    }

    void groupsReachIntoTheirSubgroups()
    {
        QAPropertyMapGroup root("root");
        auto* middle = new QAPropertyMapGroup("middle");
        auto* inner = new QAPropertyMapGroup("inner");
        auto* deep = new QAPropertyMapInt("deep");
        root.addChild(new QAPropertyMapBool("top"));
        root.addChild(middle);
        middle->addChild(inner);
        inner->addChild(deep);
        QAPropertyStore first;
        first.setProperty("top", true);
        root.setPropertyStore(&first);
        // A group is overridden as soon as one leaf is, however deep.
        QVERIFY(root.isOverriden() && !middle->isOverriden());
        first.setProperty("deep", 1);
        QVERIFY(middle->isOverriden());

        // The store reaches every subgroup, and a deleted store counts as none.
        auto* second = new QAPropertyStore;
        root.setPropertyStore(second);
        deep->setValue(20);
        QCOMPARE(first.property("deep"), QVariant(1));
        QCOMPARE(second->property("deep"), QVariant(20));
        delete second;
        QVERIFY(!deep->value().isValid());
        deep->setValue(3);
        QVERIFY(!deep->isOverriden() && !root.isOverriden());
    }

    void attributeBinding_data()
    {
        QTest::addColumn<bool>("ownSet");
        QTest::addColumn<bool>("parentSet");
        QTest::addColumn<bool>("withParents");
        QTest::addColumn<QString>("expected");
        QTest::newRow("own value when set") << true << true << true << "own";
        QTest::newRow("unset reads the first set parent") << false << true << true << "parent";
        QTest::newRow("none set reads the last of the chain") << false << false << true << "root";
        QTest::newRow("alone and unset reads its own value") << false << false << false << "own";
    }
    void attributeBinding()
    {
        QFETCH(bool, ownSet);
        QFETCH(bool, parentSet);
        QFETCH(bool, withParents);
        QAStAttribute<QString> root("root", false);
        QAStAttribute<QString> parent("parent", parentSet);
        QAStAttribute<QString> own("own", ownSet);
        if (withParents) {
            parent.parent = &root;
            own.parent = &parent;
        }
        QAPropertyAttrLineEdit property("k", &own);
        QTEST(property.value().toString(), "expected");
        QCOMPARE(property.isOverriden(), ownSet);
        QCOMPARE(property.isResetable(), withParents);

        property.reset();
        QVERIFY(!own.isSet);
        QCOMPARE(own.value, QString("own")); // kept, but no longer counts
        property.setValue(" new\nline ");
        QVERIFY(own.isSet);
        QCOMPARE(property.value(), QVariant(" new\nline ")); // not cleaned, unlike the store-bound kind
        QCOMPARE(parent.value, QString("parent"));

        QAPropertyAttrLineEdit unbound("u", nullptr);
        unbound.setValue("x");
        QVERIFY(!unbound.isOverriden() && !unbound.isResetable() && !unbound.value().isValid());
    }
};

QTEST_MAIN(tst_PropertyModel)
#include "tst_propertymodel.moc"

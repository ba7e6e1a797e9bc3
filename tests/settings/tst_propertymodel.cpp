#include "propertyleaves.h"
#include "qapropertyattrbool.h"
#include "qapropertyattrcomboint.h"
#include "qapropertyattrlineedit.h"
#include "qapropertyattrpathbox.h"
#include "qapropertyattrpathitem.h"
#include "qapropertyattryesno.h"
#include "qapropertymapbool.h"
#include "qapropertymapcomboint.h"
#include "qapropertymapcombostring.h"
#include "qapropertymapgroup.h"
#include "qapropertymapint.h"
#include "qapropertymaplineedit.h"
#include "qapropertymaplistbox.h"
#include "qapropertymappathbox.h"
#include "qapropertymappathitem.h"
#include "qapropertymapyesno.h"
#include "qapropertystore.h"

#include <QDate>
#include <QTest>

#include <functional>
#include <memory>

namespace {



// Same kind and same value: QVariant's own equality converts across kinds.
bool sameVariant(const QVariant& a, const QVariant& b)
{
    return QAProperty::variantType(a) == QAProperty::variantType(b) && a == b;
}

QByteArray describe(const QVariant& v)
{
    QString text;
    QDebug(&text) << v;
    return text.toUtf8();
}

#define COMPARE_VARIANT(actual, expected)                                                     \
    QVERIFY2(sameVariant(actual, expected),                                                  \
             describe(actual) + " != " + describe(expected))

} // namespace

class tst_PropertyModel : public QObject
{
    Q_OBJECT
private slots:
    void kindTranslation_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QVariant>("sample");
        QTest::newRow("1 is a map") << 1 << QVariant(QVariantMap{{"a", "b"}});
        QTest::newRow("3 is a string") << 3 << QVariant(QString("s"));
        QTest::newRow("4 is a string list") << 4 << QVariant(QStringList{"a"});
        QTest::newRow("16 is an integer") << 16 << QVariant(-5);
        QTest::newRow("17 is unsigned") << 17 << QVariant(5u);
        QTest::newRow("18 is a boolean") << 18 << QVariant(true);
        QTest::newRow("19 is a double") << 19 << QVariant(2.5);
        QTest::newRow("20 is a byte string") << 20 << QVariant(QByteArray("b"));
    }
    void kindTranslation()
    {
        QFETCH(int, kind);
        QFETCH(QVariant, sample);
        QCOMPARE(QAProperty::variantType(sample), kind);
        QCOMPARE(QAProperty::metaType(kind), sample.metaType());
    }

    void kindsOutsideTheSet()
    {
        QCOMPARE(QAProperty::variantType(QVariant()), 0);
        QCOMPARE(QAProperty::variantType(QVariant(QDate(2020, 1, 1))), -1);
        QCOMPARE(QAProperty::variantType(QVariant(qint64(1))), -1);
        QVERIFY(!QAProperty::metaType(2).isValid());
        QVERIFY(!QAProperty::convert(QVariant(1), 2).isValid());
    }

    void storeResolution_data()
    {
        QTest::addColumn<QVariant>("root");
        QTest::addColumn<QVariant>("middle");
        QTest::addColumn<QVariant>("leaf");
        QTest::addColumn<bool>("unsetLeaf");
        QTest::addColumn<QVariant>("expected");
        const QVariant none;
        QTest::newRow("own value wins") << QVariant("r") << QVariant("m") << QVariant("l") << false
                                        << QVariant("l");
        QTest::newRow("missing value comes from the parent")
            << none << QVariant("m") << none << false << QVariant("m");
        QTest::newRow("the walk goes up to the root") << QVariant("r") << none << none << false
                                                      << QVariant("r");
        QTest::newRow("the nearest store wins") << QVariant("r") << QVariant("m") << none << false
                                                << QVariant("m");
        QTest::newRow("unset drops the override") << QVariant("r") << QVariant("m") << QVariant("l")
                                                  << true << QVariant("m");
        QTest::newRow("held nowhere is invalid") << none << none << none << false << none;
        QTest::newRow("an own value of another kind still wins")
            << QVariant("r") << none << QVariant(3) << false << QVariant(3);
    }
    void storeResolution()
    {
        QFETCH(QVariant, root);
        QFETCH(QVariant, middle);
        QFETCH(QVariant, leaf);
        QFETCH(bool, unsetLeaf);
        QAPropertyStore rootStore;
        ChainedStore middleStore(&rootStore);
        ChainedStore leafStore(&middleStore);
        const QList<std::pair<QAPropertyStore*, QVariant>> stores{
            {&rootStore, root}, {&middleStore, middle}, {&leafStore, leaf}};
        for (const auto& [store, value] : stores) {
            if (value.isValid())
                store->setProperty("k", value);
        }
        if (unsetLeaf)
            leafStore.unsetProperty("k");
        QFETCH(QVariant, expected);
        COMPARE_VARIANT(leafStore.property("k"), expected);
        QCOMPARE(leafStore.hasProperty("k"), leaf.isValid() && !unsetLeaf);
        QVERIFY(!leafStore.property("other").isValid());
    }

    void setPropertyOverloads()
    {
        struct Case
        {
            const char* tag;
            std::function<void(QAPropertyStore&)> set;
            QVariant expected;
        };
        const QMap<QString, QString> map{{"x", "1"}, {"y", "two"}};
        const QList<Case> cases{
            {"QVariant as given", [](QAPropertyStore& s) { s.setProperty("k", QVariant(QByteArray("b"))); },
             QVariant(QByteArray("b"))},
            {"QString", [](QAPropertyStore& s) { s.setProperty("k", QString("é")); }, QVariant(QString("é"))},
            {"const char* as a string", [](QAPropertyStore& s) { s.setProperty("k", "abc"); },
             QVariant(QString("abc"))},
            {"byte string as a string", [](QAPropertyStore& s) { s.setProperty("k", QByteArray("abc")); },
             QVariant(QString("abc"))},
            {"string list", [](QAPropertyStore& s) { s.setProperty("k", QStringList{"a", "b"}); },
             QVariant(QStringList{"a", "b"})},
            {"map of strings", [&](QAPropertyStore& s) { s.setProperty("k", map); },
             QVariant(QVariantMap{{"x", "1"}, {"y", "two"}})},
            {"int", [](QAPropertyStore& s) { s.setProperty("k", -7); }, QVariant(-7)},
            {"unsigned", [](QAPropertyStore& s) { s.setProperty("k", 7u); }, QVariant(7u)},
            {"bool", [](QAPropertyStore& s) { s.setProperty("k", true); }, QVariant(true)},
            {"double", [](QAPropertyStore& s) { s.setProperty("k", 0.25); }, QVariant(0.25)},
            {"float as a double", [](QAPropertyStore& s) { s.setProperty("k", 0.5f); }, QVariant(0.5)},
        };
        for (const Case& c : cases) {
            QAPropertyStore store;
            store.setProperty("k", QStringList{"replaced"});
            c.set(store);
            const QVariant actual = store.property("k");
            QVERIFY2(sameVariant(actual, c.expected), c.tag);
            QCOMPARE(store.propertyNames(), QStringList{"k"});
        }
        // Map values are strings, whatever they look like.
        QAPropertyStore store;
        store.setProperty("m", map);
        QCOMPARE(store.property("m").toMap().value("x").metaType().id(), int(QMetaType::QString));

        store.setProperty("b", 1);
        store.setProperty("a", 1);
        QCOMPARE(store.propertyNames(), (QStringList{"a", "b", "m"}));
        store.clear();
        QVERIFY(store.propertyNames().isEmpty());
    }

    void copyOnWrite_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<bool>("onCopy");
        QTest::addColumn<bool>("stillShared");
        QTest::newRow("a copy shares the map until written") << "" << true << true;
        QTest::newRow("writing the copy leaves the original") << "set" << true << false;
        QTest::newRow("writing the original leaves the copy") << "set" << false << false;
        QTest::newRow("unsetting in the copy leaves the original") << "unset" << true << false;
        QTest::newRow("clearing the copy leaves the original") << "clear" << true << false;
        QTest::newRow("unsetting an absent key is no write") << "unsetAbsent" << true << true;
    }
    void copyOnWrite()
    {
        QFETCH(QString, operation);
        QFETCH(bool, onCopy);
        QAPropertyStore original;
        original.setProperty("k", "v");
        original.setProperty("n", 1);
        QAPropertyStore copy;
        copy.setProperty("stale", true);
        copy = original;
        QAPropertyStore& written = onCopy ? copy : original;
        QAPropertyStore& other = onCopy ? original : copy;
        if (operation == "set")
            written.setProperty("k", "changed");
        else if (operation == "unset")
            written.unsetProperty("k");
        else if (operation == "clear")
            written.clear();
        else if (operation == "unsetAbsent")
            written.unsetProperty("absent");

        QTEST(&copy.propertyMap() == &original.propertyMap(), "stillShared");
        QCOMPARE(other.propertyNames(), (QStringList{"k", "n"}));
        QCOMPARE(other.property("k"), QVariant("v"));
        QVERIFY(!copy.hasProperty("stale"));
        if (operation == "set")
            QCOMPARE(written.property("k"), QVariant("changed"));
        else if (!operation.isEmpty() && operation != "unsetAbsent")
            QVERIFY(!written.hasProperty("k"));
    }

    void copyOfALargeStoreIsAReference()
    {
        QAPropertyStore big;
        for (int i = 0; i < 10000; ++i)
            big.setProperty(QString("node%1.flag").arg(i), i);
        std::vector<std::unique_ptr<QAPropertyStore>> copies;
        for (int i = 0; i < 1000; ++i) {
            copies.push_back(std::make_unique<QAPropertyStore>());
            *copies.back() = big;
            QVERIFY(&copies.back()->propertyMap() == &big.propertyMap());
        }
        copies[500]->setProperty("node7.flag", -1);
        QCOMPARE(big.property("node7.flag"), QVariant(7));
        QCOMPARE(copies[499]->property("node7.flag"), QVariant(7));
        QCOMPARE(copies[500]->property("node7.flag"), QVariant(-1));
        QVERIFY(&copies[499]->propertyMap() == &big.propertyMap());
    }

    void kindsAndDefaults_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("type");
        for (const auto& [kind, type] : QList<std::pair<const char*, int>>{
                 {"Int", 16}, {"ComboInt", 16}, {"Bool", 18}, {"YesNo", 18}, {"LineEdit", 3},
                 {"ComboString", 3}, {"PathItem", 3}, {"ListBox", 4}, {"PathBox", 4}})
            QTest::newRow(kind) << QString(kind) << type;
    }
    void kindsAndDefaults()
    {
        QFETCH(QString, kind);
        std::unique_ptr<QAProperty> leaf(makeMapLeaf(kind, "k"));
        QTEST(leaf->type(), "type");
        QVERIFY(!leaf->isGroup());
        QCOMPARE(leaf->key(), QString("k"));
        QCOMPARE(leaf->mask(), 0xFFFFFFFFu);
        QVERIFY(!leaf->isReadOnly());
        QVERIFY(leaf->perlVarName().isEmpty());
        QVERIFY(!leaf->initialValue().isValid());
        QVERIFY(!leaf->parent());
        if (auto* paths = dynamic_cast<QAPropertyPathBox*>(leaf.get()))
            QCOMPARE(std::pair(paths->buttons(), paths->mode()), std::pair(6, 3));
        if (auto* path = dynamic_cast<QAPropertyPathItem*>(leaf.get()))
            QVERIFY(path->mode() == 1 && path->basePath().isNull());
    }

    void comboLabelsKeepTheirFirstPlace()
    {
        QAPropertyMapComboString combo("c");
        combo.insertItem("B", "1");
        combo.insertItem("A", "2");
        combo.insertItem("B", "3");
        QCOMPARE(combo.originalList(), (QStringList{"B", "A"}));
        QCOMPARE(combo.content().value("B"), QString("3"));
    }

    void mapLeafValue_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("withStore");
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QVariant>("expected");
        const QVariant none;
        const QVariant emptyText(QString(""));
        const QVariant emptyList{QStringList()};
        QTest::newRow("digits in a string read through Int are absent")
            << "Int" << true << QVariant("42") << none;
        QTest::newRow("an int reads through Int") << "Int" << true << QVariant(42) << QVariant(42);
        QTest::newRow("an unsigned is foreign to Int") << "Int" << true << QVariant(42u) << none;
        QTest::newRow("an int reads through ComboInt") << "ComboInt" << true << QVariant(2) << QVariant(2);
        QTest::newRow("a missing Int is invalid") << "Int" << true << none << none;
        QTest::newRow("a bool reads through YesNo") << "YesNo" << true << QVariant(true) << QVariant(true);
        QTest::newRow("an int is foreign to Bool") << "Bool" << true << QVariant(1) << none;
        QTest::newRow("a missing LineEdit is an empty string") << "LineEdit" << true << none << emptyText;
        QTest::newRow("an int is foreign to LineEdit") << "LineEdit" << true << QVariant(5) << emptyText;
        QTest::newRow("a byte string is foreign to PathItem")
            << "PathItem" << true << QVariant(QByteArray("x")) << emptyText;
        QTest::newRow("a string reads through ComboString")
            << "ComboString" << true << QVariant("-g") << QVariant("-g");
        QTest::newRow("a missing ListBox is an empty list") << "ListBox" << true << none << emptyList;
        QTest::newRow("a string is foreign to PathBox") << "PathBox" << true << QVariant("a") << emptyList;
        QTest::newRow("a list reads through PathBox")
            << "PathBox" << true << QVariant(QStringList{"a", "b"}) << QVariant(QStringList{"a", "b"});
        QTest::newRow("without a store Int is invalid") << "Int" << false << QVariant(42) << none;
        QTest::newRow("without a store LineEdit is empty") << "LineEdit" << false << QVariant("x") << emptyText;
    }
    void mapLeafValue()
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
        QAProperty* leaf = makeMapLeaf(kind, "k");
        root.addChild(leaf);
        if (withStore)
            root.setPropertyStore(&store);
        QFETCH(QVariant, expected);
        COMPARE_VARIANT(leaf->value(), expected);
        QVERIFY(!leaf->isOverriden());
    }

    void setValueConverts_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QVariant>("written");
        QTest::addColumn<QVariant>("stored");
        QTest::newRow("a LineEdit folds line ends and blank runs")
            << "LineEdit" << QVariant("  first\nsecond\r\n\t third  ") << QVariant("first second third");
        QTest::newRow("a PathItem keeps its blanks") << "PathItem" << QVariant(" a\nb ") << QVariant(" a\nb ");
        QTest::newRow("an Int takes digits") << "Int" << QVariant("42") << QVariant(42);
        QTest::newRow("a ComboInt takes an unsigned") << "ComboInt" << QVariant(2u) << QVariant(2);
        QTest::newRow("a Bool takes a number") << "Bool" << QVariant(1) << QVariant(true);
        QTest::newRow("a ListBox takes a string as one row") << "ListBox" << QVariant("a")
                                                             << QVariant(QStringList{"a"});
        QTest::newRow("a ComboString takes a number") << "ComboString" << QVariant(7) << QVariant("7");
    }
    void setValueConverts()
    {
        QFETCH(QString, kind);
        QFETCH(QVariant, written);
        QAPropertyStore store;
        QAPropertyMapGroup root("root");
        QAProperty* leaf = makeMapLeaf(kind, "k");
        root.addChild(leaf);

        leaf->setValue(written); // no store yet: nothing happens
        QVERIFY(!leaf->isOverriden());
        QVERIFY(!leaf->isResetable());
        leaf->reset();

        root.setPropertyStore(&store);
        leaf->setValue(written);
        QFETCH(QVariant, stored);
        COMPARE_VARIANT(store.property("k"), stored);
    }

    void overrideAndReset_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QVariant>("inherited");
        QTest::newRow("Int") << "Int" << QVariant(7);
        QTest::newRow("YesNo") << "YesNo" << QVariant(false);
        QTest::newRow("LineEdit") << "LineEdit" << QVariant("x y");
        QTest::newRow("ComboString") << "ComboString" << QVariant("-O2");
        QTest::newRow("PathBox") << "PathBox" << QVariant(QStringList{"a", "b"});
    }
    void overrideAndReset()
    {
        QFETCH(QString, kind);
        QFETCH(QVariant, inherited);
        QAPropertyStore base;
        ChainedStore store(&base);
        base.setProperty("k", inherited);
        QAPropertyMapGroup root("root");
        QAProperty* leaf = makeMapLeaf(kind, "k");
        root.addChild(leaf);
        root.setPropertyStore(&store);
        QVERIFY(leaf->isResetable());
        QVERIFY(!leaf->isOverriden());

        // Writing the inherited value is still an override.
        leaf->setValue(inherited);
        QVERIFY(leaf->isOverriden());
        QVERIFY(store.hasProperty("k"));
        COMPARE_VARIANT(leaf->value(), inherited);

        leaf->reset();
        QVERIFY(!leaf->isOverriden());
        QVERIFY(!store.hasProperty("k"));
        COMPARE_VARIANT(leaf->value(), inherited);
        QVERIFY(base.hasProperty("k"));
    }

    void rootStoreResetLeavesTheDefault()
    {
        QAPropertyStore store;
        QAPropertyMapGroup root("root");
        auto* text = new QAPropertyMapLineEdit("t");
        auto* number = new QAPropertyMapInt("n");
        root.addChild(text);
        root.addChild(number);
        root.setPropertyStore(&store);
        text->setValue("x");
        number->setValue(3);
        QVERIFY(!text->isResetable());
        QVERIFY(text->isOverriden());
        text->reset();
        number->reset();
        QVERIFY(store.propertyNames().isEmpty());
        COMPARE_VARIANT(text->value(), QVariant(QString("")));
        QVERIFY(!number->value().isValid());
    }

    void displayText_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QString>("text");
        const QVariant none;
        const QString unable = "<unable display value>";
        QTest::newRow("Int with its suffix") << "Int" << QVariant(10) << "10 ms";
        QTest::newRow("Int without value shows the suffix alone") << "Int" << none << " ms";
        QTest::newRow("Bool true") << "Bool" << QVariant(true) << "True";
        QTest::newRow("Bool without value") << "Bool" << none << "False";
        QTest::newRow("YesNo true") << "YesNo" << QVariant(true) << "Yes";
        QTest::newRow("YesNo false") << "YesNo" << QVariant(false) << "No";
        QTest::newRow("LineEdit") << "LineEdit" << QVariant("a b") << "a b";
        QTest::newRow("PathItem") << "PathItem" << QVariant("/p") << "/p";
        QTest::newRow("ComboInt label of the value") << "ComboInt" << QVariant(2) << "High";
        QTest::newRow("ComboInt label of zero") << "ComboInt" << QVariant(0) << "None";
        QTest::newRow("ComboInt value without label") << "ComboInt" << QVariant(5) << unable;
        QTest::newRow("ComboInt without value matches no label") << "ComboInt" << none << unable;
        QTest::newRow("ComboString label of the value") << "ComboString" << QVariant("-O2") << "Optimised";
        QTest::newRow("ComboString value without label") << "ComboString" << QVariant("-O3") << unable;
        QTest::newRow("PathBox joined with commas")
            << "PathBox" << QVariant(QStringList{"a", "b c"}) << "a,b c";
        QTest::newRow("ListBox empty") << "ListBox" << none << "";
    }
    void displayText()
    {
        QFETCH(QString, kind);
        QFETCH(QVariant, stored);
        QAPropertyStore store;
        if (stored.isValid())
            store.setProperty("k", stored);
        QAPropertyMapGroup root("root");
        QAProperty* leaf = makeMapLeaf(kind, "k");
        root.addChild(leaf);
        root.setPropertyStore(&store);
        QTEST(leaf->displayValue(), "text");
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
        QCOMPARE(leaf->parent(), &a);
        QCOMPARE(a.property("x"), leaf);
        QCOMPARE(a.property("sub"), sub);

        sub->addChild(new QAPropertyMapInt("deep"));
        QVERIFY(!a.property("deep")); // no descent into subgroups
        sub->addChild(&a);            // would own its own parent
        QVERIFY(!a.parent());

        b.removeChild(leaf); // a stranger to b
        QCOMPARE(leaf->parent(), &a);
        b.addChild(leaf); // moves
        QCOMPARE(leaf->parent(), &b);
        QCOMPARE(a.count(), 1);
        b.removeChild(leaf);
        QVERIFY(!leaf->parent());
        QCOMPARE(b.count(), 0);
        b.addChild(leaf);
        delete leaf; // a dying leaf leaves its group
        QCOMPARE(b.count(), 0);
        // The sanitizer's leak check sees whether a deletes sub and its child.
    }

    void groupOverride_data()
    {
        QTest::addColumn<QString>("overridden");
        QTest::addColumn<bool>("expected");
        QTest::newRow("no leaf overridden") << "" << false;
        QTest::newRow("a direct leaf overridden") << "top" << true;
        QTest::newRow("a leaf deep inside a subgroup overridden") << "deep" << true;
    }
    void groupOverride()
    {
        QFETCH(QString, overridden);
        QAPropertyStore store;
        QAPropertyMapGroup root("root");
        auto* middle = new QAPropertyMapGroup("middle");
        auto* inner = new QAPropertyMapGroup("inner");
        root.addChild(new QAPropertyMapBool("top"));
        root.addChild(middle);
        middle->addChild(inner);
        inner->addChild(new QAPropertyMapLineEdit("deep"));
        root.setPropertyStore(&store);
        QCOMPARE(inner->propertyStore(), &store);
        if (!overridden.isEmpty())
            store.setProperty(overridden, QVariant());
        QTEST(root.isOverriden(), "expected");
        QCOMPARE(middle->isOverriden(), overridden == "deep");
    }

    void storeSwitching()
    {
        QAPropertyMapGroup root("root");
        auto* sub = new QAPropertyMapGroup("sub");
        auto* leaf = new QAPropertyMapInt("n");
        root.addChild(sub);
        sub->addChild(leaf);
        QAPropertyStore first;
        first.setProperty("n", 1);
        auto* second = new QAPropertyStore;
        second->setProperty("n", 2);

        root.setPropertyStore(&first);
        QCOMPARE(leaf->value(), QVariant(1));
        root.setPropertyStore(second);
        leaf->setValue(20);
        QCOMPARE(first.property("n"), QVariant(1));
        QCOMPARE(second->property("n"), QVariant(20));
        delete second; // a deleted store counts as none
        QVERIFY(!leaf->value().isValid());
        leaf->setValue(3);
        QVERIFY(!leaf->isOverriden());
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
    }

    void attributeKinds()
    {
        QAStAttribute<bool> flag;
        QAStAttribute<int> number;
        QAStAttribute<QString> path;
        QAStAttribute<QStringList> paths;
        QAPropertyAttrBool b("b", &flag);
        QAPropertyAttrYesNo yn("yn", &flag);
        QAPropertyAttrComboInt combo("c", &number);
        QAPropertyAttrPathItem item("p", &path);
        QAPropertyAttrPathBox box("ps", &paths);
        combo.insertItem("three", 3);

        b.setValue(1);
        QVERIFY(flag.isSet && flag.value);
        QCOMPARE(yn.displayValue(), QString("Yes"));
        QCOMPARE(b.displayValue(), QString("True"));
        combo.setValue("3");
        QCOMPARE(number.value, 3);
        QCOMPARE(combo.displayValue(), QString("three"));
        item.setValue("/a");
        QCOMPARE(path.value, QString("/a"));
        box.setValue("/only");
        QCOMPARE(paths.value, QStringList{"/only"});
        COMPARE_VARIANT(box.value(), QVariant(QStringList{"/only"}));
        COMPARE_VARIANT(combo.value(), QVariant(3));
        QAPropertyAttrLineEdit unbound("u", nullptr);
        unbound.setValue("x");
        QVERIFY(!unbound.isOverriden() && !unbound.isResetable() && !unbound.value().isValid());
    }
};

QTEST_MAIN(tst_PropertyModel)
#include "tst_propertymodel.moc"

#include "propertyleaves.h"
#include "qapropertymapgroup.h"
#include "qapropertystore.h"
#include "qapropertywidget.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>

#include <memory>

namespace {

// What the editor shows, in the kind of the property's value.
QVariant shown(QAPropertyWidget* w)
{
    QWidget* editor = w->editor();
    if (auto* spin = qobject_cast<QSpinBox*>(editor))
        return spin->value();
    if (auto* check = qobject_cast<QCheckBox*>(editor))
        return check->isChecked();
    if (auto* line = qobject_cast<QLineEdit*>(editor))
        return line->text();
    if (auto* combo = qobject_cast<QComboBox*>(editor))
        return combo->currentData();
    QStringList rows;
    if (auto* list = qobject_cast<QListWidget*>(editor))
        for (int i = 0; i < list->count(); ++i)
            rows << list->item(i)->text();
    return rows;
}

// Changes the value as a user would.
void edit(QAPropertyWidget* w)
{
    QWidget* editor = w->editor();
    if (qobject_cast<QSpinBox*>(editor) || qobject_cast<QComboBox*>(editor)) {
        QTest::keyClick(editor, Qt::Key_Down);
    } else if (qobject_cast<QCheckBox*>(editor)) {
        QTest::keyClick(editor, Qt::Key_Space);
    } else if (auto* line = qobject_cast<QLineEdit*>(editor)) {
        QTest::keyClick(line, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(line, "new   text");
        QTest::keyClick(line, Qt::Key_Return);
    } else if (auto* list = qobject_cast<QListWidget*>(editor)) {
        list->setCurrentRow(0);
        QTest::mouseClick(w->findChild<QPushButton*>("down"), Qt::LeftButton);
    }
}

// The editor of a leaf of \a kind, keyed "k", bound to \a store.
QAPropertyWidget* editorOf(QAPropertyMapGroup& root, const QString& kind, QAPropertyStore* store, bool readOnly = false)
{
    QAProperty* leaf = makeMapLeaf(kind, "k");
    leaf->setReadOnly(readOnly);
    root.addChild(leaf);
    root.setPropertyStore(store);
    return qobject_cast<QAPropertyWidget*>(leaf->createEditor(nullptr));
}

} // namespace

class tst_PropertyEditors : public QObject
{
    Q_OBJECT
private slots:
    // What the editor shows, what a user's change stores and how a reset
    // shows the inherited value again, for each kind of editor.
    void editWritesAnOverrideAndResetDropsIt_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QVariant>("inherited");
        QTest::addColumn<QVariant>("written");
        const QVariant rows(QStringList{"a", "b"});
        const QVariant swapped(QStringList{"b", "a"});
        QTest::newRow("an Int steps down") << "Int" << QVariant(20) << QVariant(15);
        QTest::newRow("a Bool toggles") << "Bool" << QVariant(true) << QVariant(false);
        QTest::newRow("a YesNo toggles") << "YesNo" << QVariant(false) << QVariant(true);
        QTest::newRow("a LineEdit folds blanks") << "LineEdit" << QVariant("old") << QVariant("new text");
        QTest::newRow("a PathItem keeps blanks") << "PathItem" << QVariant("/old") << QVariant("new   text");
        QTest::newRow("a ComboInt takes the next label") << "ComboInt" << QVariant(1) << QVariant(2);
        QTest::newRow("a ComboString takes the next label") << "ComboString" << QVariant("-g") << QVariant("-O2");
        QTest::newRow("a ListBox moves a row") << "ListBox" << rows << swapped;
        QTest::newRow("a PathBox moves a row") << "PathBox" << rows << swapped;
    }
    void editWritesAnOverrideAndResetDropsIt()
    {
        QFETCH(QString, kind);
        QFETCH(QVariant, inherited);
        QFETCH(QVariant, written);
        QAPropertyStore base;
        ChainedStore store(&base);
        base.setProperty("k", inherited);
        QAPropertyMapGroup root("root");
        std::unique_ptr<QAPropertyWidget> w(editorOf(root, kind, &store));
        w->show();
        QVERIFY(QTest::qWaitForWindowExposed(w.get()));
        QCOMPARE(shown(w.get()), inherited);
        QVERIFY(!w->editor()->font().bold() && !w->resetButton()->isEnabled());

        QSignalSpy changed(w.get(), &QAPropertyWidget::valueChanged);
        edit(w.get());
        QCOMPARE(store.property("k"), written);
        QCOMPARE(shown(w.get()), written);
        QVERIFY(w->editor()->font().bold() && w->resetButton()->isEnabled() && !changed.isEmpty());
        QCOMPARE(base.property("k"), inherited);

        QTest::mouseClick(w->resetButton(), Qt::LeftButton);
        QVERIFY(!store.hasProperty("k"));
        QCOMPARE(shown(w.get()), inherited);
        QVERIFY(!w->editor()->font().bold() && !w->resetButton()->isEnabled());
    }

    // Confirming a text that nobody changed must not turn the inherited
    // value into an override of the node.
    void leavingALineEditUntouchedWritesNothing()
    {
        QAPropertyStore base;
        ChainedStore store(&base);
        base.setProperty("k", "kept");
        QAPropertyMapGroup root("root");
        std::unique_ptr<QAPropertyWidget> w(editorOf(root, "LineEdit", &store));
        QTest::keyClick(w->editor(), Qt::Key_End);
        QTest::keyClick(w->editor(), Qt::Key_Return);
        QVERIFY(!store.hasProperty("k"));
    }

    void listRowsEditedInPlace()
    {
        QAPropertyStore store;
        store.setProperty("k", QStringList{"a", "b"});
        QAPropertyMapGroup root("root");
        std::unique_ptr<QAPropertyWidget> w(editorOf(root, "ListBox", &store));
        auto* list = qobject_cast<QListWidget*>(w->editor());
        list->item(1)->setText("z"); // as the row's editor commits
        QCOMPARE(store.property("k"), QVariant(QStringList{"a", "z"}));
        QTest::mouseClick(w->findChild<QPushButton*>("add"), Qt::LeftButton);
        QCOMPARE(list->count(), 3);
        QCOMPARE(store.property("k"), QVariant(QStringList{"a", "z"})); // an empty row is no value
        list->setCurrentRow(0);
        QTest::mouseClick(w->findChild<QPushButton*>("remove"), Qt::LeftButton);
        QCOMPARE(store.property("k"), QVariant(QStringList{"z"}));
        // On a store that inherits from nothing there is nothing to reset to.
        QVERIFY(!w->resetButton()->isEnabled());
    }

    // No way into a read-only editor: no key, no button, no reset.
    void readOnlyEditorsChangeNothing_data() { editWritesAnOverrideAndResetDropsIt_data(); }
    void readOnlyEditorsChangeNothing()
    {
        QFETCH(QString, kind);
        QFETCH(QVariant, inherited);
        QAPropertyStore base;
        ChainedStore store(&base);
        store.setProperty("k", inherited); // an override that could otherwise be reset
        QAPropertyMapGroup root("root");
        std::unique_ptr<QAPropertyWidget> w(editorOf(root, kind, &store, true));
        w->show();
        QVERIFY(QTest::qWaitForWindowExposed(w.get()));
        edit(w.get());
        QCOMPARE(store.property("k"), inherited);
        for (const QAbstractButton* button : w->findChildren<QAbstractButton*>())
            QVERIFY2(!button->isEnabled(), qPrintable(button->objectName()));
    }
};

QTEST_MAIN(tst_PropertyEditors)
#include "tst_propertyeditors.moc"

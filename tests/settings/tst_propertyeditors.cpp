#include "propertyleaves.h"
#include "qapropertymapgroup.h"
#include "qapropertymappathbox.h"
#include "qapropertystore.h"
#include "qapropertywidget.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
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
QAPropertyWidget* editorOf(QAPropertyMapGroup& root, const QString& kind, QAPropertyStore* store)
{
    QAProperty* leaf = makeMapLeaf(kind, "k");
    root.addChild(leaf);
    root.setPropertyStore(store);
    return qobject_cast<QAPropertyWidget*>(leaf->createEditor(nullptr));
}

} // namespace

class tst_PropertyEditors : public QObject
{
    Q_OBJECT
private slots:
    void editWritesAnOverrideAndResetDropsIt_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("editorClass");
        QTest::addColumn<QVariant>("inherited");
        QTest::addColumn<QVariant>("written");
        const QVariant rows(QStringList{"a", "b"});
        const QVariant swapped(QStringList{"b", "a"});
        QTest::newRow("Int steps down") << "Int" << "QAPropertyIntWidget" << QVariant(20) << QVariant(15);
        QTest::newRow("Bool toggles") << "Bool" << "QAPropertyBoolWidget" << QVariant(true) << QVariant(false);
        QTest::newRow("YesNo toggles") << "YesNo" << "QAPropertyBoolWidget" << QVariant(false) << QVariant(true);
        QTest::newRow("LineEdit folds blanks") << "LineEdit" << "QAPropertyLineEditWidget" << QVariant("old")
                                               << QVariant("new text");
        QTest::newRow("PathItem keeps blanks") << "PathItem" << "QAPropertyPathItemWidget" << QVariant("/old")
                                               << QVariant("new   text");
        QTest::newRow("ComboInt takes the next label") << "ComboInt" << "QAPropertyComboIntWidget" << QVariant(1)
                                                       << QVariant(2);
        QTest::newRow("ComboString takes the next label") << "ComboString" << "QAPropertyComboStringWidget"
                                                          << QVariant("-g") << QVariant("-O2");
        QTest::newRow("ListBox moves a row") << "ListBox" << "QAPropertyListBoxWidget" << rows << swapped;
        QTest::newRow("PathBox moves a row") << "PathBox" << "QAPropertyPathBoxWidget" << rows << swapped;
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
        QVERIFY(w);
        QFETCH(QString, editorClass);
        QVERIFY(w->inherits(qPrintable(editorClass)));
        w->show();
        QVERIFY(QTest::qWaitForWindowExposed(w.get()));
        QCOMPARE(shown(w.get()), inherited);
        QVERIFY(!w->editor()->font().bold() && !w->resetButton()->isEnabled());

        QSignalSpy changed(w.get(), &QAPropertyWidget::valueChanged);
        edit(w.get());
        QCOMPARE(store.property("k"), written);
        QCOMPARE(shown(w.get()), written);
        QVERIFY(w->editor()->font().bold() && w->resetButton()->isEnabled());
        QVERIFY(!changed.isEmpty());
        QCOMPARE(base.property("k"), inherited);
        const QString screenshots = QCoreApplication::applicationDirPath() + "/screenshots";
        QVERIFY(QDir().mkpath(screenshots) && w->grab().save(screenshots + "/" + kind.toLower() + ".png"));

        QTest::mouseClick(w->resetButton(), Qt::LeftButton);
        QVERIFY(!store.hasProperty("k"));
        QCOMPARE(shown(w.get()), inherited);
        QVERIFY(!w->editor()->font().bold() && !w->resetButton()->isEnabled());
    }

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

    void pathBoxButtonSets_data()
    {
        QTest::addColumn<int>("buttons");
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<bool>("multi");
        QTest::newRow("NoButton") << 0 << QStringList() << false;
        QTest::newRow("SingleWithoutMoves") << 2 << QStringList{"add", "remove"} << false;
        QTest::newRow("Multi") << 3 << QStringList{"add", "remove"} << true;
        QTest::newRow("Single") << 6 << QStringList{"add", "remove", "up", "down"} << false;
        QTest::newRow("MultiWithMoves") << 7 << QStringList{"add", "remove", "up", "down"} << true;
    }
    void pathBoxButtonSets()
    {
        QFETCH(int, buttons);
        QAPropertyMapPathBox paths("p");
        paths.setButtons(buttons);
        std::unique_ptr<QWidget> widget(paths.createEditor(nullptr));
        QStringList found;
        for (const QPushButton* button : widget->findChildren<QPushButton*>())
            found << button->objectName();
        QTEST(found, "names");
        auto* list = qobject_cast<QListWidget*>(static_cast<QAPropertyWidget*>(widget.get())->editor());
        QTEST(list->selectionMode() == QAbstractItemView::ExtendedSelection, "multi");
    }

    void readOnlyEditorIsDisabled()
    {
        QAPropertyStore base;
        ChainedStore store(&base);
        store.setProperty("k", 5); // an override that could otherwise be reset
        QAPropertyMapGroup root("root");
        QAProperty* leaf = makeMapLeaf("Int", "k");
        leaf->setReadOnly(true);
        root.addChild(leaf);
        root.setPropertyStore(&store);
        std::unique_ptr<QWidget> widget(leaf->createEditor(nullptr));
        auto* w = static_cast<QAPropertyWidget*>(widget.get());
        QVERIFY(!w->editor()->isEnabled() && !w->resetButton()->isEnabled());
    }
};

QTEST_MAIN(tst_PropertyEditors)
#include "tst_propertyeditors.moc"

#include "propertyleaves.h"
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
#include "qapropertywidget.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>

#include <memory>

namespace {


QAProperty* makeLeaf(const QString& kind)
{
    return makeMapLeaf(kind, kind.toLower());
}

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
    if (auto* list = qobject_cast<QListWidget*>(editor)) {
        QStringList rows;
        for (int i = 0; i < list->count(); ++i)
            rows << list->item(i)->text();
        return rows;
    }
    return QVariant();
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

bool isBold(QAPropertyWidget* w)
{
    return w->editor()->font().bold();
}

} // namespace

class tst_PropertyEditors : public QObject
{
    Q_OBJECT
private slots:
    void editWritesAnOverride_data()
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
        QTest::newRow("LineEdit folds blanks")
            << "LineEdit" << "QAPropertyLineEditWidget" << QVariant("old") << QVariant("new text");
        QTest::newRow("PathItem keeps blanks")
            << "PathItem" << "QAPropertyPathItemWidget" << QVariant("/old") << QVariant("new   text");
        QTest::newRow("ComboInt takes the next label")
            << "ComboInt" << "QAPropertyComboIntWidget" << QVariant(1) << QVariant(2);
        QTest::newRow("ComboString takes the next label")
            << "ComboString" << "QAPropertyComboStringWidget" << QVariant("-g") << QVariant("-O2");
        QTest::newRow("ListBox moves a row") << "ListBox" << "QAPropertyListBoxWidget" << rows << swapped;
        QTest::newRow("PathBox moves a row") << "PathBox" << "QAPropertyPathBoxWidget" << rows << swapped;
    }
    void editWritesAnOverride()
    {
        QFETCH(QString, kind);
        QFETCH(QVariant, inherited);
        QFETCH(QVariant, written);
        QAPropertyStore base;
        ChainedStore store(&base);
        QAPropertyMapGroup root("root");
        QAProperty* leaf = makeLeaf(kind);
        root.addChild(leaf);
        root.setPropertyStore(&store);
        base.setProperty(leaf->key(), inherited);

        std::unique_ptr<QWidget> widget(leaf->createEditor(nullptr));
        auto* w = qobject_cast<QAPropertyWidget*>(widget.get());
        QVERIFY(w);
        QFETCH(QString, editorClass);
        QVERIFY(w->inherits(qPrintable(editorClass)));
        w->show();
        QVERIFY(QTest::qWaitForWindowExposed(w));
        QCOMPARE(shown(w), inherited);
        QVERIFY(!isBold(w));
        QVERIFY(!w->resetButton()->isEnabled());

        QSignalSpy changed(w, &QAPropertyWidget::valueChanged);
        edit(w);
        QVERIFY(store.hasProperty(leaf->key()));
        QCOMPARE(store.property(leaf->key()), written);
        QCOMPARE(shown(w), written);
        QVERIFY(isBold(w));
        QVERIFY(w->resetButton()->isEnabled());
        QVERIFY(!changed.isEmpty());
        QCOMPARE(base.property(leaf->key()), inherited);

        const QString dir = QCoreApplication::applicationDirPath() + "/screenshots";
        QVERIFY(QDir().mkpath(dir));
        const QString file = dir + "/" + kind.toLower() + ".png";
        QFile::remove(file);
        QVERIFY(w->grab().save(file));
        QVERIFY(QFileInfo(file).size() > 0);

        QTest::mouseClick(w->resetButton(), Qt::LeftButton);
        QVERIFY(!store.hasProperty(leaf->key()));
        QCOMPARE(shown(w), inherited);
        QVERIFY(!isBold(w));
        QVERIFY(!w->resetButton()->isEnabled());
    }

    void leavingALineEditUntouchedWritesNothing()
    {
        QAPropertyStore base;
        ChainedStore store(&base);
        base.setProperty("t", "kept");
        QAPropertyMapGroup root("root");
        root.addChild(new QAPropertyMapLineEdit("t"));
        root.setPropertyStore(&store);
        std::unique_ptr<QWidget> w(root.property("t")->createEditor(nullptr));
        auto* line = qobject_cast<QLineEdit*>(static_cast<QAPropertyWidget*>(w.get())->editor());
        QTest::keyClick(line, Qt::Key_End);
        QTest::keyClick(line, Qt::Key_Return);
        QVERIFY(!store.hasProperty("t"));
    }

    void listRowsEditedInPlace()
    {
        QAPropertyStore store;
        QAPropertyMapGroup root("root");
        root.addChild(new QAPropertyMapListBox("l"));
        root.setPropertyStore(&store);
        store.setProperty("l", QStringList{"a", "b"});
        std::unique_ptr<QWidget> widget(root.property("l")->createEditor(nullptr));
        auto* w = static_cast<QAPropertyWidget*>(widget.get());
        auto* list = qobject_cast<QListWidget*>(w->editor());
        list->item(1)->setText("z"); // as the row's editor commits
        QCOMPARE(store.property("l"), QVariant(QStringList{"a", "z"}));
        QTest::mouseClick(w->findChild<QPushButton*>("add"), Qt::LeftButton);
        QCOMPARE(list->count(), 3);
        QCOMPARE(store.property("l"), QVariant(QStringList{"a", "z"})); // an empty row is no value
        list->setCurrentRow(0);
        QTest::mouseClick(w->findChild<QPushButton*>("remove"), Qt::LeftButton);
        QCOMPARE(store.property("l"), QVariant(QStringList{"z"}));
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
        QFETCH(QStringList, names);
        QAPropertyMapPathBox paths("p");
        paths.setButtons(buttons);
        std::unique_ptr<QWidget> widget(paths.createEditor(nullptr));
        QStringList found;
        for (const QPushButton* button : widget->findChildren<QPushButton*>())
            found << button->objectName();
        QCOMPARE(found, names);
        auto* list = qobject_cast<QListWidget*>(static_cast<QAPropertyWidget*>(widget.get())->editor());
        QTEST(list->selectionMode() == QAbstractItemView::ExtendedSelection, "multi");
    }

    void readOnlyEditorIsDisabled()
    {
        QAPropertyStore store;
        QAPropertyMapGroup root("root");
        auto* leaf = new QAPropertyMapInt("n");
        leaf->setReadOnly(true);
        root.addChild(leaf);
        root.setPropertyStore(&store);
        std::unique_ptr<QWidget> widget(leaf->createEditor(nullptr));
        auto* w = static_cast<QAPropertyWidget*>(widget.get());
        QVERIFY(!w->editor()->isEnabled());
        QVERIFY(!w->resetButton()->isEnabled());
    }

    void attributeBoundEditor()
    {
        QAStAttribute<bool> inherited(true, true);
        QAStAttribute<bool> own(false, false);
        own.parent = &inherited;
        QAPropertyAttrYesNo property("y", &own);
        std::unique_ptr<QWidget> widget(property.createEditor(nullptr));
        auto* w = qobject_cast<QAPropertyWidget*>(widget.get());
        QVERIFY(w->inherits("QAPropertyBoolWidget"));
        auto* check = qobject_cast<QCheckBox*>(w->editor());
        QVERIFY(check->isChecked());
        QCOMPARE(check->text(), QString("Yes"));
        QVERIFY(!w->resetButton()->isEnabled());
        check->click();
        QVERIFY(own.isSet);
        QVERIFY(!own.value);
        QCOMPARE(check->text(), QString("No"));
        QVERIFY(w->resetButton()->isEnabled());
        w->resetButton()->click();
        QVERIFY(!own.isSet);
        QVERIFY(check->isChecked());
    }
};

QTEST_MAIN(tst_PropertyEditors)
#include "tst_propertyeditors.moc"

#include "qastdatacopydrag.h"
#include "qastdatamovedrag.h"
#include "qastdataundoactionmanager.h"
#include "qastnodegroup.h"
#include "qastproject.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QClipboard>
#include <QDropEvent>
#include <QGuiApplication>
#include <QTest>

namespace {

void dropOn(QAStData* target, QMimeData* mime)
{
    QDropEvent event(QPointF(), Qt::MoveAction | Qt::CopyAction, mime, Qt::LeftButton, Qt::NoModifier);
    target->drop(&event);
}

} // namespace

class tst_UndoAndDrag : public QObject
{
    Q_OBJECT

    RecordingHost host;
    QAStProject* project = nullptr;
    QAStNodeGroup* a = nullptr;
    QAStNodeGroup* b = nullptr;
    QAStNodeGroup* c = nullptr;

private slots:
    void initTestCase() { QAStData::initialize(&host); }
    void init()
    {
        host.boxes.clear();
        project = new QAStProject(QStringLiteral("proj"), QPixmap());
        a = new QAStNodeGroup(QStringLiteral("a"), project);
        b = new QAStNodeGroup(QStringLiteral("b"), project, a);
        c = new QAStNodeGroup(QStringLiteral("c"), project, b);
        new QAStNodeGroup(QStringLiteral("b1"), b);
    }
    void cleanup()
    {
        delete project;
        QAStData::undoManager()->clear();
    }

    void deleteUndoRedo()
    {
        const unsigned int quid = b->getQuid();
        b->del();
        QCOMPARE(childNames(project), (QStringList{"a", "c"}));
        QVERIFY(QAStData::isUndoAvailable());

        QVERIFY(QAStData::undo());
        QCOMPARE(childNames(project), (QStringList{"a", "b", "c"}));
        QAStData* back = project->findNode(QStringLiteral("b"));
        QCOMPARE(back->getQuid(), quid);
        QCOMPARE(childNames(back), QStringList{"b1"});
        QVERIFY(!QAStData::isUndoAvailable() && QAStData::isRedoAvailable());

        QVERIFY(QAStData::redo());
        QCOMPARE(childNames(project), (QStringList{"a", "c"}));
        // The deleted original goes with the event loop; nothing is left behind.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void onlyTheLastCommandIsUndone()
    {
        a->del();
        host.textAnswers = QStringList{"added"};
        c->appendGroupNode();
        QCOMPARE(childNames(project), (QStringList{"b", "c", "added"}));
        QVERIFY(QAStData::undo());
        QCOMPARE(childNames(project), (QStringList{"b", "c"}));
        QVERIFY(!QAStData::undo());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void emptyHistoryDoesNothing()
    {
        QVERIFY(!QAStData::undo());
        QVERIFY(!QAStData::redo());
        // A removal whose parent is gone meanwhile has no place to go back to.
        QAStNodeGroup* doomed = new QAStNodeGroup(QStringLiteral("doomed"));
        QAStNodeGroup* leaf = new QAStNodeGroup(QStringLiteral("leaf"), doomed);
        leaf->del();
        delete doomed;
        // The command counts as undone, with nothing to redo in it.
        QVERIFY(QAStData::undo());
        QVERIFY(QAStData::redo());
        QCOMPARE(childNames(project), (QStringList{"a", "b", "c"}));
    }

    void moveDragCarriesTheObjectOnly()
    {
        QScopedPointer<QMimeData> mime(a->dragObject(false, nullptr));
        auto* drag = qobject_cast<QAStDataMoveDrag*>(mime.data());
        QVERIFY(drag);
        QCOMPARE(drag->format(0), "velmont-project/item-data");
        QVERIFY(drag->encodedData("text/plain").isEmpty());
        QAStData* decoded = nullptr;
        QVERIFY(QAStDataMoveDrag::decode(drag, &decoded));
        QCOMPARE(decoded, static_cast<QAStData*>(a));

        // A drag whose object was deleted, or a foreign one, decodes to nothing.
        QMimeData foreign;
        foreign.setData(QStringLiteral("velmont-project/item-data"), QByteArray(8, '\x01'));
        QVERIFY(QAStDataMoveDrag::canDecode(&foreign));
        QVERIFY(!QAStDataMoveDrag::decode(&foreign, &decoded));
        delete a;
        a = nullptr;
        QVERIFY(!QAStDataMoveDrag::decode(drag, &decoded));
    }

    void dropMovesOrCopies_data()
    {
        QTest::addColumn<bool>("copy");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QStringList>("top");
        QTest::addColumn<QStringList>("inTarget");
        QTest::newRow("move") << false << "a" << "b" << QStringList{"b", "c"} << QStringList{"a", "b1"};
        QTest::newRow("copy") << true << "a" << "b" << QStringList{"a", "b", "c"} << QStringList{"a", "b1"};
        QTest::newRow("move onto itself") << false << "b" << "b" << QStringList{"a", "b", "c"}
                                          << QStringList{"b1"};
        QTest::newRow("move into its own subtree") << false << "b" << "b.b1" << QStringList{"a", "b", "c"}
                                                   << QStringList();
    }
    void dropMovesOrCopies()
    {
        QFETCH(bool, copy);
        QFETCH(QString, source);
        QFETCH(QString, target);
        QFETCH(QStringList, top);
        QFETCH(QStringList, inTarget);
        QAStData* from = project->findNode(source);
        QAStData* to = project->findNode(target);
        QScopedPointer<QMimeData> mime(from->dragObject(copy, nullptr));
        dropOn(to, mime.data());
        QCOMPARE(childNames(project), top);
        QCOMPARE(childNames(to), inTarget);
        if (top.size() == 3 && inTarget.size() == 2) {
            // A copy is a new object of the same identity, and undo takes it away.
            QVERIFY(to->firstChild() != from);
            QCOMPARE(to->firstChild()->getQuid(), from->getQuid());
        }
        if (inTarget.contains(source)) {
            QVERIFY(QAStData::undo());
            QCOMPARE(childNames(to).contains(source), false);
        }
    }

    void pasteTakesWhatTheTargetAccepts_data()
    {
        QTest::addColumn<QString>("clipboard");
        QTest::addColumn<bool>("intoTestData");
        QTest::addColumn<QStringList>("children");
        QTest::addColumn<int>("boxes");
        QTest::newRow("group into a group") << "group" << false << QStringList{"a", "c1"} << 0;
        QTest::newRow("group into an object that takes nothing") << "group" << true << QStringList() << 1;
        QTest::newRow("text that is no object") << "plain" << false << QStringList{"c1"} << 0;
    }
    void pasteTakesWhatTheTargetAccepts()
    {
        QFETCH(QString, clipboard);
        QFETCH(bool, intoTestData);
        QFETCH(QStringList, children);
        QFETCH(int, boxes);
        QClipboard* board = QGuiApplication::clipboard();
        if (clipboard == QLatin1String("group"))
            a->copy();
        else
            board->setText(QStringLiteral("just words"));
        QVERIFY(!board->text().isEmpty());
        new QAStNodeGroup(QStringLiteral("c1"), c);
        TestData plain(QStringLiteral("plain"));
        QAStData* target = intoTestData ? static_cast<QAStData*>(&plain) : c;
        target->paste();
        QCOMPARE(childNames(target), children);
        QCOMPARE(host.boxes.size(), boxes);
        if (boxes)
            QVERIFY(host.boxes.first().endsWith(QLatin1String("Unable to paste the clipboard's content here")));
    }
};

QTEST_MAIN(tst_UndoAndDrag)
#include "tst_undoanddrag.moc"

#include "qmettree.h"

#include "qmetelement.h"
#include "qmetreader.h"

QMetTree::QMetTree(const QStringList& files, QObject* parent)
    : QObject(parent), _reader(new QMetReader(files, this))
{
    _reader->setParent(this);
}

QMetTree::~QMetTree()
{
    delete _root;
}

void QMetTree::init()
{
    buildMetTree();
    completeTree();
}

void QMetTree::buildMetTree()
{
    delete _root;
    _root = new QMetElement(_reader->rootElement());
    _root->buildChilds();
}

void QMetTree::completeTree()
{
    if (_root)
        _root->updateMetrics();
}

QString QMetTree::displayTree() const
{
    QString out;
    if (_root)
        _root->displayTree(out);
    return out;
}

void QMetTree::stroudChange(float stroud)
{
    if (!_root)
        return;
    _root->calculateTestingTimeSum(stroud);
    for (QMetElement* child : _root->children())
        child->calculateTestingTime(stroud);
}

void QMetTree::stroudChanged(float stroud)
{
    stroudChange(stroud);
}

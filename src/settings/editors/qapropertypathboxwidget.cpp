#include "qapropertypathboxwidget.h"

#include "qapropertypathbox.h"
#include "qapropertypathitemwidget.h"

QAPropertyPathBoxWidget::QAPropertyPathBoxWidget(QAPropertyPathBox* property, QWidget* parent)
    : QAPropertyListBoxWidget(property, property->buttons(), tr("Add..."), parent), _paths(property)
{
}

void QAPropertyPathBoxWidget::addItems()
{
    appendItems(QAPropertyPathItemWidget::browse(this, _paths->mode(), _paths->fileExtensions(),
                                                 _paths->basePath()));
}

#include "qasttargetpackage.h"

#include "qares.h"
#include "qaresstring.h"

#include <QDir>
#include <QFileInfo>

namespace {

QStringList pathList(const QString& value)
{
    return value.split(QLatin1Char(','), Qt::SkipEmptyParts);
}

} // namespace

QAStTargetPackage::QAStTargetPackage() = default;

void QAStTargetPackage::read(QARes* first, const QString& directory, const QString& iniFile)
{
    this->directory = directory;
    this->iniFile = iniFile;
    j2meRestriction = false;
    if (!first)
        return;
    if (const char* source = first->srcFileName())
        fullPath = QDir::toNativeSeparators(QFileInfo(QString::fromLocal8Bit(source)).absolutePath());

    const struct {
        const char* key;
        QString QAStTargetPackage::*field;
    } texts[] = {
        {"NAME", &QAStTargetPackage::name},
        {"LANGUAGE", &QAStTargetPackage::language},
        {"OBJEXT", &QAStTargetPackage::objectExt},
        {"LIBEXT", &QAStTargetPackage::libExt},
        {"DLLEXT", &QAStTargetPackage::dllExt},
        {"SRCEXT", &QAStTargetPackage::srcExt},
        {"EXEEXT", &QAStTargetPackage::exeExt},
        {"DEFAULT_CPPFLAGS", &QAStTargetPackage::cppFlags},
        {"DEFAULT_CFLAGS", &QAStTargetPackage::cFlags},
        {"DEFAULT_LDFLAGS", &QAStTargetPackage::ldFlags},
        {"DEFAULT_LIBS", &QAStTargetPackage::libs},
        {"DEFAULT_DEFINES", &QAStTargetPackage::defines},
    };
    const struct {
        const char* key;
        QStringList QAStTargetPackage::*field;
    } lists[] = {
        {"DEFAULT_INCLUDE_PATHS", &QAStTargetPackage::includePaths},
        {"DEFAULT_LIBRARY_PATHS", &QAStTargetPackage::libraryPaths},
        {"DEFAULT_BOOTCLASSPATH", &QAStTargetPackage::bootClassPath},
    };
    // The analyses that a "0" switches off.
    const struct {
        const char* key;
        quint32 bits;
    } modes[] = {
        {"ZTCMODE", 0x80200},
        {"ZTTMODE", 0x60400},
        {"ZTPMODE", 0x800},
        {"ZTQMODE", 0x1000},
    };

    for (const QARes* item = first; item; item = item->next()) {
        const QAResString* string = item->toResString();
        if (!string || !item->tag())
            continue;
        const QString value = string->value();
        bool named = false;
        for (const auto& text : texts) {
            if (item->isTag(text.key)) {
                this->*text.field = value;
                named = true;
            }
        }
        for (const auto& list : lists) {
            if (item->isTag(list.key)) {
                this->*list.field = pathList(value);
                named = true;
            }
        }
        if (item->isTag("J2ME_RESTRICTION")) {
            j2meRestriction = value == QLatin1String("true");
            named = true;
        }
        for (const auto& mode : modes) {
            if (item->isTag(mode.key) && value == QLatin1String("0"))
                flags &= ~mode.bits;
        }
        if (!named && qstrncmp(item->tag(), "DEFAULT_", 8) == 0)
            defaults.insert(QString::fromLatin1(item->tag() + 8), value);
    }
}

bool QAStTargetPackage::read(const QString& path)
{
    const QDir port(path);
    bool any = false;
    const QFileInfoList files = port.entryInfoList({QStringLiteral("*.ini")}, QDir::Files);
    for (const QFileInfo& file : files) {
        QARes* tree = QARes::read(QFile::encodeName(file.filePath()).constData(), true);
        if (!tree)
            continue;
        read(tree, port.dirName(), file.fileName());
        delete tree;
        any = true;
    }
    return any;
}

#include "batchfixture.h"

#include "recordinghost.h"

#include <QDirIterator>

#include <unistd.h>

namespace {

bool write(const QString& path, const QByteArray& text)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

} // namespace

QString BatchFixture::copyExample(const QString& name)
{
    const QString from = QStringLiteral(SDK_EXAMPLES_DIR "/first");
    const QString to = path(name);
    for (QDirIterator it(from, QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
        const QString file = it.next();
        const QString copy = to + file.mid(from.size());
        QDir().mkpath(QFileInfo(copy).path());
        if (!QFile::copy(file, copy))
            return QString();
    }
    return to + QStringLiteral("/first.vmp");
}

QString BatchFixture::installationWith(const QString& name, const QMap<QString, QByteArray>& scripts, bool ports)
{
    const QString top = path(QStringLiteral("install-") + name);
    if (QFileInfo::exists(top))
        return top;
    const QString stage = RecordingHost::stageDir();
    QStringList entries {"doc", "plugins", "Common", "lib/perl", "lib/locale", "lib/project.dtd"};
    if (ports)
        entries << QStringLiteral("targets");
    for (const QString& script : QDir(stage + QStringLiteral("/lib/scripts")).entryList(QDir::Files)) {
        if (!scripts.contains(script))
            entries << QStringLiteral("lib/scripts/") + script;
    }
    for (const QString& entry : std::as_const(entries)) {
        QDir().mkpath(QFileInfo(top + QLatin1Char('/') + entry).path());
        QFile::link(stage + QLatin1Char('/') + entry, top + QLatin1Char('/') + entry);
    }
    for (auto it = scripts.constBegin(); it != scripts.constEnd(); ++it)
        write(top + QStringLiteral("/lib/scripts/") + it.key(), it.value());
    return top;
}

std::unique_ptr<QProcess> BatchFixture::start(const QStringList& arguments, const QString& installation)
{
    auto process = std::make_unique<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("VELMONTDIR"));
    environment.remove(QStringLiteral("ZENTAHOME"));
    if (!installation.isEmpty())
        environment.insert(QStringLiteral("VELMONTDIR"), installation);
    environment.insert(QStringLiteral("BATCH_TEST_FILE"), scriptFile());
    process->setProcessEnvironment(environment);
    process->setWorkingDirectory(work.path());
    // As a shell starts a command: a signal to the group is a terminal's.
    process->setChildProcessModifier([] { ::setpgid(0, 0); });
    process->start(QStringLiteral(SDK_BATCH_PROGRAM), arguments);
    return process;
}

BatchFixture::Run BatchFixture::run(const QStringList& arguments, const QString& installation)
{
    const std::unique_ptr<QProcess> process = start(arguments, installation);
    Run result;
    if (!process->waitForFinished(25000) || process->exitStatus() != QProcess::NormalExit)
        return result;
    result.status = process->exitCode();
    result.out = QString::fromLocal8Bit(process->readAllStandardOutput());
    result.err = QString::fromLocal8Bit(process->readAllStandardError());
    return result;
}

#pragma once

#include "sdk_export.h"
#include "pdatainterface.h"
#include "qastattribute.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QPixmap>
#include <QString>
#include <QStringList>

class QAProcess;
class QAProperty;
class QAPropertyGroup;
class QARes;
class QAStProjectPref;
class QAStDataUndoActionManager;
class QDomDocument;
class QDomElement;
class QDomNode;
class QIODevice;
class QDropEvent;
class QMenu;
class QMimeData;
class QTextStream;
class QWidget;
class StudioInterface;

/// The root of everything that lives in a project tree.
///
/// A parent owns its children, and the chain firstChild / next / previous is
/// the one order of the tree and of the project file. The QObject parent is
/// left unset: the chain already says all it would, and keeping Qt's list of
/// children beside it cost every tag of a large tag file a child event and a
/// list entry. The second half of the class launches Perl scripts for
/// the object: an environment file is written, the interpreter runs the script
/// on it, the output goes to a console, and the exit status becomes the status.
class SDK_EXPORT QAStData : public QObject, public PDataInterface
{
    Q_OBJECT
public:
    enum ExecutionStatus {
        ExecutionSuccess = 0,
        ExecutionFailed = 1,
        ExecutionStopped = 2,
        ExecutionRunning = 3,
        ExecutionRunningOther = 4,
        ExecutionNone = 5,
        ExecutionTestFailed = 6
    };
    enum Console { BuildConsole = 0, MessageConsole = 1 };
    enum StreamType { OutputStream = 0, ErrorStream = 1 };

    QAStData(const QString& name, const QPixmap& icon, QAStData* parent = nullptr,
             QAStData* after = nullptr);
    QAStData(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStData(const QDomElement& element, int version, QAStData* parent = nullptr,
             QAStData* after = nullptr);
    ~QAStData() override;

    // Tree, in the order of the class's virtual operations.
    QObject* object() const override;
    virtual void addChild(QAStData* child, QAStData* after = nullptr);
    virtual void remove();
    QString name() const override;
    virtual QString displayName() const;
    QPixmap icon() const override;
    virtual QAStData* project();
    virtual QAStData* rootProject();
    virtual QAStData* root();
    virtual QAStData* parent() const;
    /// The settings of this object as the properties dialog shows them; the
    /// caller owns the group, and a change made through one of its properties
    /// reaches propertyModified() while this object lives.
    virtual QAPropertyGroup* propertyGroup();
    virtual void setIcon(const QPixmap& icon);
    virtual void setIconByFileName(const QString& fileName);
    bool isModified() const override;
    virtual void setAlphabeticallySorted(bool sorted, bool recursive);
    virtual void setRenameable(bool renameable);
    virtual void setDuplicable(bool duplicable);
    virtual void setDeletable(bool deletable);
    virtual bool acceptDrop(QAStData* data) const;
    virtual void drop(QDropEvent* event);
    virtual void dropData(QAStData* data, QDropEvent* event);
    /// A new drag payload for this object; the caller owns it.
    virtual QMimeData* dragObject(bool copy, QWidget* dragSource);
    QString directory() override;
    QString environmentFileName() override;
    virtual QMenu* popupMenu(QWidget* parent) = 0;
    virtual QMenu* addChildPopupMenu(QWidget* parent) = 0;
    virtual QMenu* addNextPopupMenu(QWidget* parent) = 0;
    virtual QMenu* viewPopupMenu(QWidget* parent) = 0;
    virtual void localActionMenuItems(QMenu* menu) = 0;
    virtual QStringList vcsItems() = 0;
    virtual void doubleClickAction() = 0;
    bool isRunning() override;
    virtual void write(QTextStream& stream, int indent);
    void generateEnv(QTextStream& stream) override;

    virtual void addEvent();
    virtual void removeEvent();
    virtual void parentAddEvent(QAStData* added);
    virtual void parentRemoveEvent(QAStData* removed);
    virtual void childAddEvent(QAStData* added);
    virtual void childRemoveEvent(QAStData* removed);
    virtual bool createEnvironmentFile(QTextStream& stream);
    virtual void launchStopProcess(qint64 pid);
    virtual void executeAfterStopProcess();

    // Tree queries.
    QAStData* firstChild() const { return _firstChild; }
    QAStData* next() const { return _next; }
    QAStData* previous() const { return _previous; }
    QAStData* last() const;
    QList<QAStData*> childrenOfClass(const char* className, bool recursive) const;
    QAStData* parentOfClass(const char* className);
    QList<QAStData*> parentsOfClass(const char* className);
    QAStData* searchChildOfClass(const QString& name, const char* className, bool recursive);
    QAStData* findNode(const QString& dottedPath);
    bool isValid() const;
    void setValid(bool valid) { this->valid = valid; }

    // Flags and fields.
    void setModified(bool modified) { this->modified = modified; }
    QAStData* runningData() const { return _dataRunning; }
    int executionStatus() const { return executionResult; }
    void setExecutionStatus(int status) { executionResult = status; }
    unsigned int getQuid() const { return quid; }
    void setQuid(unsigned int value);
    QString iconFileName() const { return iconName; }
    QAStAttribute<QString>& nameAttribute() { return _name; }
    bool isRenameable() const { return renameable; }
    bool isDuplicable() const { return duplicable; }
    bool isDeletable() const { return deletable; }
    bool isOpen() const { return open; }
    void setOpen(bool open) { this->open = open; }
    bool isAlphabeticallySorted() const { return alphabeticallySorted; }
    QAProcess* runningProcess() const { return process; }
    int consoleId() const { return console; }

    // Load errors.
    static bool CHECK_TAG(const QDomNode& element, const char* tag);
    static QString lastErrorString() { return _lastErrorString; }
    static void clearLastErrorString() { _lastErrorString.clear(); }
    /// Parses the XML text of \a device into \a document as
    /// QDomDocument::setContent() does, white space between elements left
    /// out, but in time linear in the text however deeply its elements nest.
    /// The declaration and the DOCTYPE of the prolog are not kept: nothing
    /// reads them. False on a syntax error, with the parser's message and
    /// place, and an empty document.
    static bool parseDocument(QIODevice* device, QDomDocument& document, QString* message = nullptr,
                              int* line = nullptr, int* column = nullptr);
    static bool parseDocument(const QString& text, QDomDocument& document);

    // Paths.
    QString determineAbsolutePathFile(const QString& path);
    void determineAbsolutePathFiles(QStringList& paths);
    QString determineRelativePathFile(const QString& path);
    void determineRelativePathFiles(QStringList& paths);

    // Readers of the older resource form: each leaves the attribute alone
    // when the path is missing or holds a value of another kind.
    static void readIntVal(QARes* resources, const char* path, QAStAttribute<int>& attribute);
    static void readBoolVal(QARes* resources, const char* path, QAStAttribute<bool>& attribute);
    static void readStrVal(QARes* resources, const char* path, QAStAttribute<QString>& attribute);
    static void readStrListVal(QARes* resources, const char* path, QAStAttribute<QStringList>& attribute);
    static void readStrMapVal(QARes* resources, const char* path,
                              QAStAttribute<QMap<QString, QString>>& attribute);

    // Value encodings of the project file.
    static QString boolToXMLValue(bool value);
    static bool xmlValueToBool(const QString& value);
    static QString intToXMLValue(int value);
    static int xmlValueToInt(const QString& value);
    static QString uintToXMLValue(unsigned int value);
    static unsigned int xmlValueToUInt(const QString& value);
    static QString stringToXMLValue(const QString& value);
    static QString xmlValueToString(const QString& value);
    static QString stringListToXMLValue(const QStringList& list);
    static QStringList xmlValueToStringList(const QString& value);
    static QString stringMapToXMLValue(const QMap<QString, QString>& map);
    static QMap<QString, QString> xmlValueToStringMap(const QString& value);
    static void indentXML(QTextStream& stream, int indent);
    static void toStream(QTextStream& stream, const char* tag, const QString& value, int indent);

    // Serialising.
    /// Writes \a child, as a container writes each of its children. The
    /// text is the same as \a child->write(stream, indent) gives, but however
    /// deep the tree, the stack does not grow with it.
    static void writeChild(QAStData* child, QTextStream& stream, int indent);
    QString toString();
    static QAStData* stringContentToData(const QString& text);
    static QAStData* clipboardContentToData();
    void deleteChildren();
    /// Takes \a data in as a child behind \a after (first when null), as a
    /// command the user can undo.
    void adoptAsCommand(QAStData* data, QAStData* after = nullptr);
    void initChildren(const QDomElement& holder, int version, const QStringList& classNames);

    // Script launching.
    void executePerlScript(const QString& script, const QString& workingDir, QTextStream* environment,
                           bool asynchronous, Console console = BuildConsole,
                           QStringList* processEnvironment = nullptr);

    // The host.
    static void initialize(StudioInterface* studio, QARes* resources = nullptr);
    static StudioInterface* studioIFace() { return _studio; }
    static QWidget* mainWindow();
    static QAStProjectPref* preferences() { return _projectpref; }
    static QAStDataUndoActionManager* undoManager();
    static bool undo();
    static bool redo();
    static bool isUndoAvailable();
    static bool isRedoAvailable();
    static int port();
    static QString userName();
    static QString targetDir();
    static QString helpDir();
    static QString binaryDir();
    static QString installDir();
    static QString scriptsDir();
    static QStringList perlCommand();
    static QPixmap pixmap(const QString& name);
    static void displayMessage(Console console, const QString& text, StreamType stream = OutputStream);
    static void clearMessage(Console console);
    static void editFile(const QString& path, int line);
    static int getViewerIdByName(const QString& name);
    static QString getViewerNameById(int id);

    /// Computes a fresh identity: seconds since 2000-01-01 plus a counter.
    static unsigned int _computeID();

signals:
    void updated();
    void sortChildrenRequired();
    void editProperties();
    void renamed(const QString& name);
    void removed();
    void added();
    void perlScriptTerminated();
    void perlScriptStarted();
    void childRemoved(QAStData* child);
    void childAdded(QAStData* child);
    void iconChanged(const QPixmap& icon);

public slots:
    virtual void setName(const QString& name);
    virtual void charReceived(const QString& text);
    virtual void charErrorReceived(const QString& text);
    virtual void sortChildren();
    virtual void properties();
    virtual void cut();
    virtual void copy();
    virtual void paste();
    virtual void del();
    /// \a property of propertyGroup() has stored a new value here.
    virtual void propertyModified(QAProperty* property);
    virtual void stop();
    virtual void processTerminated(bool normalExit, int exitStatus);

protected:
    int executionResult = ExecutionNone;
    bool modified = false;
    bool valid = true;
    QAProcess* process = nullptr;
    QAStAttribute<QString> iconName;
    unsigned int quid = 0;
    bool renameable = true;
    bool duplicable = true;
    bool deletable = true;
    bool open = true;
    bool alphabeticallySorted = false;
    int console = BuildConsole;
    QAProcess* stopProcess = nullptr;

    static QString _lastErrorString;

    /// Kills this object's script, if it has one, and marks it stopped.
    void killAsStopped();
    /// Reads the `data` element into this object. A project document reads
    /// its own element into an existing object, so this is open to it.
    void init(const QDomElement& element, int version);
    /// Reads the older resource form: the name, and whether the object may
    /// be renamed and stands open.
    void init(QARes* resources);

private:
    void privAttach(QAStData* parent, QAStData* after);
    void deleteSubtree();
    /// Builds the child of \a element behind \a after; the child, or null
    /// when it may not stand here.
    QAStData* buildChild(const QDomElement& element, int version, const QStringList& classNames,
                         QAStData* after);
    QList<QAStData*> runningToStop();

    static QString _encode(const QString& value, bool mapKey = false);
    static QString _decode(const QString& value);

    QAStData* _firstChild = nullptr;
    QAStData* _parent = nullptr;
    QAStData* _next = nullptr;
    QAStData* _previous = nullptr;
    QAStAttribute<QString> _name;
    QPixmap _icon;

    static StudioInterface* _studio;
    static QAStProjectPref* _projectpref;
    static QMap<QString, int> _menuMap;
    static QAStData* _dataRunning;
};

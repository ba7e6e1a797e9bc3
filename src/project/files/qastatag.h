#pragma once

#include "qastdata.h"

#include <QTextStream>

#include <functional>

class QAStFile;

/// A symbol found in a source file: a function, a class, a package, a
/// structure, or a word of a test script. Tags are the children of their
/// QAStFile, in the order of the file, and the user picks them to generate
/// tests from.
///
/// Each kind knows how its qualified name is spelt in its language, whether
/// it can be tested by itself and, when it cannot, which ancestor can. The
/// qualifier holds the bits the tag file gave it: access, declaration or
/// body, namespace, test kinds.
class SDK_EXPORT QAStATag : public QAStData
{
    Q_OBJECT
public:
    enum Qualifier {
        Public = 0x1,
        Protected = 0x2,
        Private = 0x4,
        Generic = 0x10,
        Abstract = 0x20,
        Virtual = 0x40,
        Declaration = 0x80,
        Body = 0x100,
        Namespace = 0x800,
        TestService = 0x1000,
        TestClass = 0x2000,
        TestCase = 0x4000,
        TestSuite = 0x8000,
        JavaPackage = 0x20000,
        Interface = 0x40000
    };

    QAStATag(const QString& name, const QString& filePath, int line, QAStData* parent = nullptr,
             QAStData* after = nullptr);
    QAStATag(const QDomElement& element, int version, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStATag(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);

    QString displayName() const override;
    /// The icon that the qualifier calls for, unless one was set.
    QPixmap icon() const override;
    void setIcon(const QPixmap& icon) override;
    QAPropertyGroup* propertyGroup() override;
    void write(QTextStream& stream, int indent) override;
    QMenu* popupMenu(QWidget* parent) override;
    QMenu* addChildPopupMenu(QWidget* parent) override;
    QMenu* addNextPopupMenu(QWidget* parent) override;
    QMenu* viewPopupMenu(QWidget* parent) override;
    void localActionMenuItems(QMenu* menu) override;
    QStringList vcsItems() override;
    void doubleClickAction() override;

    virtual QString qualifiedName() const;
    virtual void setQualifiedName(const QString& name);
    virtual QString signature() const;
    virtual void setSignature(const QString& signature);
    /// Sets the bits and the icon that they call for.
    virtual void setQualifier(int qualifier);
    virtual QString fileKey() const;
    virtual QString absolutePath() const;
    /// The absolute paths of the files that may be replaced by stubs when
    /// this item is tested.
    virtual QStringList stubbableFiles();
    /// The nearest ancestor tag that can be tested by itself, or null.
    virtual QAStATag* directlyTestableParent();
    virtual bool isTestable() const;
    virtual bool isDirectlyTestable() const;
    virtual bool isInstrumentable() const;
    virtual bool isARootItem() const;
    /// Opens the test generation on this tag, or on the ancestor or file
    /// that can be tested in its place, after asking.
    virtual void test();

    int line() const { return _line; }
    int qualifier() const { return _qualifier; }
    bool hasQualifier(int bits) const { return (_qualifier & bits) != 0; }
    /// The stored qualified name, empty unless one was set.
    QString storedQualifiedName() const { return _qualifiedName; }
    /// The file this tag stands in: itself for a file.
    QAStFile* file() const;
    /// 1 C, 2 C++, 4 Ada, 8 Java by the kind of the file.
    int language() const;
    /// Every tag below, in tree order.
    QList<QAStATag*> children() const;

    /// The `data` element inside the wrappers of a tag element.
    static QDomElement dataElement(const QDomElement& element);
    /// The `tag` element inside the wrappers of a tag element.
    static QDomElement tagElement(const QDomElement& element);

    void drop(QDropEvent* event) override;

    /// What opens the test generation on a tag; the wizards install it.
    /// Without one, test() decides and asks, and opens nothing.
    using TestLauncher = std::function<void(QAStATag* target)>;
    static void setTestLauncher(const TestLauncher& launcher);

public slots:
    void paste() override;
    void edit();

protected:
    /// Which ancestors make part of a qualified name: any tag, or packages,
    /// classes or both.
    enum Scopes { AnyScope = 0, PackageScopes = 1, ClassScopes = 2 };
    /// The qualified name built from the ancestors that \a scopes counts,
    /// joined by \a separator.
    QString nameThroughAncestors(int scopes, const QString& separator) const;
    /// Writes the wrapper \a element around the element of the base class.
    template<typename Base>
    void writeWrapped(QTextStream& stream, int indent, const char* element)
    {
        indentXML(stream, indent);
        stream << '<' << element << ">\n";
        static_cast<Base*>(this)->Base::write(stream, indent + 1);
        indentXML(stream, indent);
        stream << "</" << element << ">\n";
    }
    void writeTag(QTextStream& stream, int indent);
    /// A question with yes and no; true for yes.
    static bool ask(const QString& text);
    /// The name of the picture that the qualifier calls for.
    virtual QString qualifierIcon() const;
    /// \a isPrivate, \a isProtected or \a other, by the access bits.
    QString iconByAccess(const QString& isPrivate, const QString& isProtected, const QString& other) const;

    QAStAttribute<QString> _signature;
    int _line = 0;
    int _qualifier = 0;
    QString _qualifiedName;

private:
    // Views ask the icon when they draw, a tag pass makes a hundred thousand
    // tags: the picture is found when asked, not made for each tag.
    bool _iconChosen = false;

    void initGlobal();
    void init(const QDomElement& element, int version);
    void init(QARes* resources);
};

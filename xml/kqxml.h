#ifndef KQSUPPORT_KQXML_H
#define KQSUPPORT_KQXML_H

#include "kqsupport_export.h"

#include <QByteArray>
#include <QDomDocument>
#include <QDomElement>
#include <QList>
#include <QString>
#include <QStringList>

/// \file
/// Finds and edits elements in Qt's XML DOM, and extracts an element from raw XML.
///
/// A program that uses the library defines `g_kq_verbose`, or it does not link: see osrelease/osrelease.h.

/// Static helpers that find and edit elements in Qt's XML DOM, and one that extracts an element from raw XML bytes.
///
/// Example:
///
///     QDomDocument document;
///     document.setContent(bytes);
///     QDomElement root = document.documentElement();
///     const QString name = KQXml::GetChildElementText(root, QStringLiteral("name"));
///     if (name.isNull())
///         KQXml::InsertAfterElement(&document, root, QDomElement(), QStringLiteral("name"), QStringLiteral("none"));
///
/// The lookups search the whole subtree below `element`, as QDomElement::elementsByTagName does: at any depth, in
/// document order, case-sensitively, and never `element` itself.
///
/// **Warning**: despite their names, the lookups do not stop at direct children. In `<a><b><c>1</c></b><c>2</c></a>`
/// the first `c` below `a` is the nested one. Use QDomElement::firstChildElement for a direct child.
///
/// `tagName` is compared with QDomElement::tagName: the name as written, or the local name if the document was parsed
/// with namespaces (then `k` matches `<x:k>`). A null `tagName` selects the direct children, as in Qt; the operations
/// that return a first match then look only at the first child, which must be an element. An empty `tagName` matches no
/// parsed element.
///
/// Errors: if there is no match, the result is null or empty, as described below. Only std::bad_alloc is thrown.
///
/// Cost: the first-match operations check 16 nodes themselves and then use Qt's list, which visits the whole subtree.
/// An early match takes well under a microsecond in any document; a late or absent one costs up to 1.5 microseconds
/// more than Qt's list alone. The operations that return every match visit the whole subtree once.
///
/// Threads: no state is kept between calls. One thread at a time may use a document and the elements in it.
class KQSUPPORT_EXPORT KQXml
{
public:
    /// Creates an object without data. All operations are static, so none is needed.
    KQXml();
    ~KQXml();

    /// Returns the text of the first match, including the text of nested elements.
    ///
    /// Errors: null if there is no match. Empty, not null, if the match has no text.
    static QString GetChildElementText(const QDomElement& element, const QString& tagName);

    /// Returns the first match, or a null element.
    ///
    /// The result is the node in the tree: changing it changes the document.
    static QDomElement GetChildElement(const QDomElement& element, const QString& tagName);

    /// Returns the value of an attribute of the first match.
    ///
    /// Errors: null if there is no match or the first match has no such attribute, even if a later match has it.
    static QString GetChildElementAttribute(
        const QDomElement& element, const QString& tagName, const QString& attributeName);

    /// Returns the text of every match in document order, with an empty entry for a match without text.
    static QStringList GetChildElementsTextList(const QDomElement& element, const QString& tagName);

    /// Returns every match in document order.
    static QList<QDomElement> GetChildElements(const QDomElement& element, const QString& tagName);

    /// Replaces the data of the first text or CDATA node that is a direct child of `element`.
    ///
    /// Example, with the text "new":
    ///
    ///     <a/>                      <a>new</a>                    no children: a text node is added
    ///     <a>old<!--c-->more</a>    <a>new<!--c-->more</a>        later text nodes are kept
    ///     <a><b/>tail</a>           <a><b/>new</a>
    ///     <a><b/></a>               <a><b/></a>                   children but no text: nothing happens
    ///
    /// `document` creates the text node and must not be null if `element` has no children; it is not used otherwise.
    ///
    /// Errors: does nothing if `element` is a null pointer or a null element.
    ///
    /// **Warning**: Qt checks a new text node against QDomImplementation::invalidDataPolicy (see InsertBeforeElement)
    /// but never checks text that replaces existing text. Characters that XML forbids, or `]]>` in a CDATA node, then
    /// produce a document that cannot be parsed or parses differently. Parse the written document before you use it if
    /// `text` is untrusted.
    static void UpdateElementText(QDomDocument* document, QDomElement* element, const QString& text);

    /// Inserts a new element `tagName` into `parent` before `refChild`, or as the first child if `refChild` is null.
    ///
    /// The new element contains one text node with `text`, even if `text` is empty. `document` creates the nodes: it
    /// is the document of `parent` and must not be null unless `parent` is.
    ///
    /// Errors: does nothing if `parent` is null. Inserts nothing if `refChild` is not a direct child of `parent` or if
    /// `tagName` is empty; Qt prints a warning for the latter.
    ///
    /// **Warning**: what happens to a name or text that XML forbids depends on QDomImplementation::invalidDataPolicy,
    /// whose default depends on the version of Qt (AcceptInvalidChars in 6.4, ReturnNullNode in 6.11):
    ///
    /// | policy             | name `a<b`                       | text `a\x01z`                     |
    /// |--------------------|----------------------------------|-----------------------------------|
    /// | AcceptInvalidChars | inserted, cannot be parsed again | inserted, cannot be parsed again  |
    /// | DropInvalidChars   | inserted as `ab`                 | inserted as `az`                  |
    /// | ReturnNullNode     | nothing is inserted              | the element is inserted, no text  |
    ///
    /// If the name or text is untrusted, compare QDomNode::previousSibling of `refChild` with what you inserted, and
    /// parse the written document.
    static void InsertBeforeElement(QDomDocument* document, QDomElement& parent, const QDomElement& refChild,
        const QString& tagName, const QString& text);

    /// Inserts a new element after `refChild`, or as the last child if `refChild` is null.
    ///
    /// Everything else is as for InsertBeforeElement, with QDomNode::nextSibling in its warning.
    static void InsertAfterElement(QDomDocument* document, QDomElement& parent, const QDomElement& refChild,
        const QString& tagName, const QString& text);

    /// Returns the bytes of the first element `tagName` that ends: the whole element, or what is between its tags if
    /// `contentOnly` is true. The bytes are unchanged, except that white space at both ends is removed.
    ///
    /// Example, for `k`:
    ///
    ///     xml                                         whole element       content
    ///     <r><!-- <k>no</k> --><k> 1&lt;2 </k></r>    <k> 1&lt;2 </k>     1&lt;2
    ///     <r><k>a<k>b</k>c</k></r>                    <k>b</k>            b
    ///     <r><k a="1">v</k></r>                       1">v</k> (wrong)    v
    ///
    /// `tagName` is compared with the local name, so `k` finds `<x:k>` if the prefix is declared.
    ///
    /// **Warning**: the position is counted in characters and the tags are not checked. The bytes are wrong
    /// - if a character before the end of the element takes more than one byte,
    /// - if the element comes from an entity that the document declares,
    /// - for the whole element, if its start tag is not exactly `<tagName>` (attributes, spaces, a prefix, `<k/>`),
    /// - for the content, if its end tag is not exactly `</tagName>` (spaces, a prefix, `<k/>`).
    ///
    /// To check, pass only the bytes of `xml` before its first NUL or byte that is not ASCII. If the document declares
    /// no encoding (QXmlStreamReader::documentEncoding is empty) or declares UTF-8, US-ASCII or ISO-8859-x, then the
    /// whole element is right if it starts with `<tagName>`, and the content is right if the whole element ends with
    /// `</tagName>`. In other encodings, such as UTF-7, ASCII bytes may stand for other characters. For any other
    /// document, parse it and use GetChildElement with QDomNode::save. examples/zk_xml.cpp does this check.
    ///
    /// Errors: null if no such element is closed before the input ends or stops being well-formed. What follows the
    /// element need not be well-formed, but invalid UTF-8 there gives null too, except a sequence that the end of the
    /// input cuts. In other encodings this depends on Qt. The encoding is the one that QXmlStreamReader detects.
    ///
    /// Cost: no tree is built and nothing is parsed after the element: tens of milliseconds per megabyte of dense
    /// markup. But all of `xml` is decoded first: one or two milliseconds per megabyte and twice its size in memory.
    static QByteArray ExtractElement(const QByteArray& xml, const QString& tagName, bool contentOnly);
};

#endif

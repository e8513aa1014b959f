#ifndef KQSUPPORT_KQXML_H
#define KQSUPPORT_KQXML_H

#include "kqsupport_export.h"

#include <QByteArray>
#include <QDomDocument>
#include <QDomElement>
#include <QList>
#include <QString>
#include <QStringList>

/// One-call helpers over Qt's XML DOM, and one that cuts an element out of raw XML bytes. All are static; no object is
/// needed.
///
///     QDomDocument document;
///     document.setContent(bytes);
///     QDomElement root = document.documentElement();
///     const QString name = KQXml::GetChildElementText(root, QStringLiteral("name"));
///     if (name.isNull())
///         KQXml::InsertAfterElement(&document, root, QDomElement(), QStringLiteral("name"), QStringLiteral("none"));
///
/// Nothing reports an error, or throws but std::bad_alloc: what is absent gives the null or empty result named below,
/// and a null element is left alone. Nothing is kept between calls. One thread at a time may use a document and the
/// elements in it.
///
/// The lookups take their matches from the whole subtree below `element`, as QDomElement::elementsByTagName does: at
/// any depth, never `element` itself, in document order, case-sensitively. In `<a><b><c>1</c></b><c>2</c></a>` the
/// first `c` below `a` is the nested one, although they are named for children. The name compared is
/// QDomElement::tagName: in a document parsed with namespaces the local name, so `k` matches `<x:k>`, and without
/// namespaces the name as written. A null `tagName` stands for the direct children, as it does in Qt; an empty one
/// matches nothing that was parsed.
class KQSUPPORT_EXPORT KQXml
{
public:
    /// An object holds nothing; there is no need for one.
    KQXml();
    ~KQXml();

    /// Returns the text of the first match, nested elements' text included: empty when it has none, null when there is
    /// no match. One near the front (in two megabytes among the first few hundred nodes) is found in microseconds
    /// however large the document is; behind them, a match or none costs a walk over the whole subtree. Where the
    /// last nodes of the subtree were not parsed but made by calls, only its first two nodes are near the front.
    ///
    /// With a null `tagName` this and the next two operations look at the first child alone and find nothing when that
    /// is no element.
    static QString GetChildElementText(const QDomElement& element, const QString& tagName);

    /// Returns the first match, or a null element. It is the node in the tree: a change made through it changes the
    /// document.
    static QDomElement GetChildElement(const QDomElement& element, const QString& tagName);

    /// Returns an attribute of the first match: empty when its value is, null when there is no match or no such
    /// attribute. Later matches are not asked.
    static QString GetChildElementAttribute(
        const QDomElement& element, const QString& tagName, const QString& attributeName);

    /// Returns the text of every match, one entry each, empty ones included. Walks the whole subtree once.
    static QStringList GetChildElementsTextList(const QDomElement& element, const QString& tagName);

    /// Returns every match. Walks the whole subtree once.
    static QList<QDomElement> GetChildElements(const QDomElement& element, const QString& tagName);

    /// Replaces the data of the first text or CDATA node directly below `element`; text nodes after it keep theirs. An
    /// element without any child gets a text node. One that has children, but no text among them, stays as it is:
    ///
    ///     <a/>                      <a>new</a>
    ///     <a>old<!--c-->more</a>    <a>new<!--c-->more</a>
    ///     <a><b/>tail</a>           <a><b/>new</a>
    ///     <a><b/></a>               <a><b/></a>
    ///
    /// A null pointer and a null element are ignored. `document` makes the new text node, as for the insertions below,
    /// and must not be null when `element` has no child; it is not used otherwise.
    static void UpdateElementText(QDomDocument* document, QDomElement* element, const QString& text);

    /// Inserts a new element `tagName`, with one text node holding `text`, into `parent` before `refChild`, or as the
    /// first child when `refChild` is null. An empty `text` still makes a text node.
    ///
    /// Nothing is inserted when `refChild` is no direct child of `parent`, and nothing at all happens when `parent` is
    /// null. `document` makes the nodes: it is the one that `parent` is in, and must not be null unless `parent` is.
    /// QDomImplementation::invalidDataPolicy says which names and texts Qt accepts, and what becomes of others; with a
    /// name that it refuses, such as an empty one, nothing is inserted and Qt warns on standard error.
    static void InsertBeforeElement(QDomDocument* document, QDomElement& parent, const QDomElement& refChild,
        const QString& tagName, const QString& text);

    /// The same, after `refChild`, or as the last child when `refChild` is null.
    static void InsertAfterElement(QDomDocument* document, QDomElement& parent, const QDomElement& refChild,
        const QString& tagName, const QString& text);

    /// Returns the bytes of the first element `tagName` to close, as they stand in `xml`, without white space at either
    /// end: the whole element, or with `contentOnly` what lies between its tags. Null when no such element is closed
    /// before the input ends or stops being well-formed; what follows the element need not be well-formed.
    ///
    ///     <r><!-- <k>no</k> --><k> 1&lt;2 </k></r>    <k> 1&lt;2 </k>    or    1&lt;2
    ///     <r><k>a<k>b</k>c</k></r>                    <k>b</k>           or    b
    ///     <r><k a="1">v</k></r>                       1">v</k>           or    v
    ///
    /// Three things are taken for granted. The element is cut elsewhere, without notice, where they do not hold:
    /// - The start tag is written without attributes, blanks and prefix. Otherwise the whole element begins as many
    ///   bytes inside the tag as it is longer; the content is right all the same.
    /// - The end tag is written without blanks and prefix. Otherwise the content ends with the first bytes of the tag;
    ///   the whole element is right. A self-closing tag is no end tag, and both forms cut at the wrong places.
    /// - Every character up to the end of the element is one byte long: the reader's offsets count characters.
    ///
    /// The encoding is what QXmlStreamReader makes of the declaration and the byte-order mark. `tagName` is compared
    /// with the local name, so a declared prefix does not matter; an undeclared one is an error of the input.
    ///
    /// Builds no tree and reads no further than the end of the element: tens of milliseconds for each megabyte of dense
    /// markup. But all of `xml` is decoded first: one or two milliseconds for each megabyte, twice its size in memory,
    /// and a wrongly encoded byte anywhere gives null.
    static QByteArray ExtractElement(const QByteArray& xml, const QString& tagName, bool contentOnly);
};

#endif

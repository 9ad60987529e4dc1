// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "CheckImage.h"
#include "CheckMatches.h"
#include "CheckTree.h"

#include "AppDosName.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

/// One directory of disks or of programs: what the hub serves from it, and what is to be said.
///
/// First LookAtServed(), which asks the media manager, then LookAtRest().
class CheckSection
{
    Q_DECLARE_TR_FUNCTIONS(CheckSection)

public:
    enum ROLE {
        ROLE_DISKS,
        ROLE_PROGRAMS,
    };

    /// A file that SEARCH lists.
    struct ENTRY {
        AppDosName name;
        QLatin1String type; ///< "D64" or the like, "PRG"
        QString file;       ///< relative to the directory
        bool sent = false;  ///< a DOWNLOAD sends it if CheckName::Pattern() of its name is typed
    };

    /// Something that people should know.
    struct REMARK {
        QString code;      ///< a word for programs, for example "same-name"
        QStringList files; ///< relative to the directory; empty if it is about the directory itself
        QString text;
        QString advice; ///< may be empty
    };

    /// `directory` is as in the settings: empty if none was chosen. Looks at nothing yet.
    CheckSection(ROLE role, const QString &directory);

    /// Finds the entries and remarks on them.
    void LookAtServed();

    /// Remarks on what is not served. `items` are those below CanonicalDirectory(); `other` is the
    /// section of the other role, which has looked at what it serves, or null. What is in
    /// `*remarked` was said before, since one directory may lie in the other.
    void LookAtRest(const QVector<CheckTree::ITEM> &items, const CheckSection *other,
                    QSet<QString> *remarked);

    /// Whether SEARCH lists the file at `path`, which is absolute and leads there without a link to
    /// a directory.
    bool Serves(const QString &path) const;

    /// Absolute; empty if none was chosen.
    QString Directory() const;

    /// The same without any link; empty if it does not exist.
    QString CanonicalDirectory() const;

    /// In the order of the listing.
    const QVector<ENTRY> &Entries() const;

    /// Sorted by file once LookAtRest() has run; those on the directory itself come first.
    const QVector<REMARK> &Remarks() const;

private:
    void Search();
    void Reserve(qsizetype size);
    void Append(const AppDosName &name, const char *type, const QFileInfo &info);
    QVector<CheckMatches::FILE> Files() const;
    bool IsEmpty(int index) const;
    bool IsSent(int index) const;
    QString Screen(int index) const;

    void Remark(const QString &code, const QStringList &files, const QString &text,
                const QString &advice);
    void RemarkOn(int index, const QString &code, const QString &text, const QString &advice);
    void RemarkOnDirectory();
    void RemarkOnUnreadable(int index);
    void RemarkOnEmpty(int index);
    void RemarkOnExtension(int index);
    void RemarkOnCutName(int index);
    void RemarkOnName(int index);
    QString AdviceOnName(int index) const;
    void RemarkOnSharedNames();
    void RemarkOnSharedName(const QVector<int> &group);
    QString SentOfDisks(int index) const;
    QString SentOfPrograms(int index) const;
    CheckImage::REASON WhyNotServed(const QString &path, const CheckSection *other) const;
    CheckImage::REASON WhyNotSeen(CheckTree::KIND kind) const;
    void SortRemarks();

    const ROLE mRole;
    QString mDirectory;
    QString mCanonical;
    QVector<ENTRY> mEntries;
    QVector<QFileInfo> mInfos;             ///< one for each entry
    QVector<CheckMatches::MATCH> mMatches; ///< one for each entry
    QSet<QString> mFiles;                  ///< of the entries
    QVector<REMARK> mRemarks;
};

// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckTree.h"

#include "CheckImage.h"

#include <QFile>

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>

namespace fs = std::filesystem;

namespace
{

/// A name as Qt reads it, which is how the hub sees it.
struct NAME {
    QString text;
    bool isText = true; ///< else Qt passes over it, and `text` shows its odd bytes as "\xNN"
};

#ifdef Q_OS_WIN

fs::path HostPath(const QString &path)
{
    return fs::path(path.toStdWString());
}

NAME NameOf(const fs::directory_entry &entry)
{
    return {QString::fromStdWString(entry.path().filename().native()), true};
}

#else

fs::path HostPath(const QString &path)
{
    return fs::path(QFile::encodeName(path).toStdString());
}

QString ShowBytes(const QByteArray &bytes)
{
    QString text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
            text += QLatin1Char(c);
        else
            text += QStringLiteral("\\x%1").arg(byte, 2, 16, QLatin1Char('0'));
    }
    return text;
}

NAME NameOf(const fs::directory_entry &entry)
{
    const std::string &path = entry.path().native();
    const auto start = path.begin() + static_cast<std::ptrdiff_t>(path.rfind('/') + 1);
    const QByteArray bytes(&*start, static_cast<int>(path.end() - start));
    // ASCII, which most names are, is the same in every encoding of a host.
    if (std::all_of(start, path.end(), [](unsigned char c) { return c < 0x80; }))
        return {QString::fromLatin1(bytes), true};
    const QString text = QFile::decodeName(bytes);
#ifndef Q_OS_DARWIN // which stores names in another form than it was given
    if (QFile::encodeName(text) != bytes)
        return {ShowBytes(bytes), false};
#endif
    return {text, true};
}

#endif

/// A directory that is still to be looked into.
struct DIRECTORY {
    fs::path host;
    QString path; ///< relative to the root
};

class Walker
{
public:
    explicit Walker(const QString &root) { mToDo.append({HostPath(root), QString()}); }

    QVector<CheckTree::ITEM> Run()
    {
        while (!mToDo.isEmpty())
            List(mToDo.takeLast());
        return mItems;
    }

private:
    void List(const DIRECTORY &directory)
    {
        std::error_code error;
        fs::directory_iterator entries(directory.host, error);
        while (!error && entries != fs::directory_iterator()) {
            Look(*entries, directory);
            entries.increment(error);
        }
        if (error)
            mItems.append({CheckTree::KIND_UNREADABLE_DIRECTORY, directory.path});
    }

    void Look(const fs::directory_entry &entry, const DIRECTORY &directory)
    {
        const NAME name = NameOf(entry);
        const QString path =
            directory.path.isEmpty() ? name.text : directory.path + QLatin1Char('/') + name.text;
        const bool hidden = name.text.startsWith(QLatin1Char('.'));
        std::error_code error;
        // The type that came with the listing, where the system gives one: no look at the file.
        const bool isLink = entry.is_symlink(error);
        const bool isDirectory = !isLink && entry.is_directory(error);

        if (isDirectory && hidden) {
            if (HoldsExpected(entry.path()))
                mItems.append({CheckTree::KIND_HIDDEN_DIRECTORY, path});
        } else if (isDirectory && name.isText) {
            mToDo.append({entry.path(), path});
        } else if (isDirectory) {
            mItems.append({CheckTree::KIND_UNDECODABLE, path});
        } else if (isLink && !hidden && entry.is_directory(error)) {
            mItems.append({CheckTree::KIND_LINKED_DIRECTORY, path});
        } else if (isLink && !hidden && !entry.exists(error)) {
            // Whatever its name: it may have led to a directory.
            mItems.append({CheckTree::KIND_BROKEN_LINK, path});
        } else if (CheckImage::IsExpected(name.text)) {
            mItems.append({KindOfFile(entry, name), path});
        }
    }

    static CheckTree::KIND KindOfFile(const fs::directory_entry &entry, const NAME &name)
    {
        std::error_code error;
        if (!name.isText)
            return CheckTree::KIND_UNDECODABLE;
        if (name.text.startsWith(QLatin1Char('.')))
            return CheckTree::KIND_HIDDEN_FILE;
        return entry.is_regular_file(error) ? CheckTree::KIND_FILE : CheckTree::KIND_SPECIAL;
    }

    static bool HoldsExpected(const fs::path &directory)
    {
        std::error_code error;
        fs::recursive_directory_iterator entries(
            directory, fs::directory_options::skip_permission_denied, error);
        while (!error && entries != fs::recursive_directory_iterator()) {
            if (CheckImage::IsExpected(NameOf(*entries).text))
                return true;
            entries.increment(error);
        }
        return false;
    }

    QVector<DIRECTORY> mToDo;
    QVector<CheckTree::ITEM> mItems;
};

} // namespace

QVector<CheckTree::ITEM> CheckTree::Walk(const QString &root)
{
    return Walker(root).Run();
}

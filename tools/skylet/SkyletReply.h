// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QString>

#include <memory>

class AppPackage;

/// What a hub sent back: an HTTP/1.1 response whose body is a package.
///
/// Reading is strict: sizes and counts that contradict each other, unknown kinds of object and
/// bytes behind the end make the reply malformed. A Skylet would make do with what is there;
/// a person wants to know what is wrong.
class SkyletReply
{
    Q_DECLARE_TR_FUNCTIONS(SkyletReply)

public:
    enum STATUS {
        VALID,
        EMPTY,          ///< no byte at all
        NOT_HTTP,       ///< does not begin as an HTTP response does
        BAD_STATUS,     ///< an HTTP status other than 200
        HEAD_CUT,       ///< ends before the blank line that ends the header
        HEAD_TOO_LONG,  ///< HEAD_MAX bytes without that line
        NO_LENGTH,      ///< no "Content-Length:"
        BAD_LENGTH,     ///< several of them, no number, or above BODY_MAX
        BODY_CUT,       ///< fewer bytes than announced
        BODY_LONG,      ///< more bytes than announced
        NO_PACKAGE,     ///< too short for a package's header
        BAD_MAGIC,      ///< the body is no package
        BAD_VERSION,    ///< the package's version is not 0
        BAD_COUNT,      ///< more than 20 objects
        BAD_SIZES,      ///< the sizes of the objects, their sum and the body do not agree
        BAD_OBJECT,     ///< neither program nor disk, or a second program
        BAD_DISK_HEADER ///< wrong magic, unknown type, or an image that leaves its block
    };

    static constexpr qint64 HEAD_MAX = 65536;             ///< bytes
    static constexpr qint64 BODY_MAX = 256 * 1024 * 1024; ///< bytes

    /// What AnnouncedSize() returns in place of a size.
    enum UNKNOWN_SIZE : qint64 {
        SIZE_NOT_YET = -1, ///< the header is not there yet
        SIZE_NEVER = -2,   ///< the header is malformed; more bytes will not mend it
    };

    /// Bytes of the whole reply, header and body, as far as its beginning tells; or UNKNOWN_SIZE.
    static qint64 AnnouncedSize(const QByteArray &bytes);

    /// Reads a whole reply. Looks at the bytes and at nothing else. The package shares them.
    static SkyletReply Parse(const QByteArray &bytes);

    SkyletReply();
    ~SkyletReply();
    SkyletReply(SkyletReply &&other) noexcept;
    SkyletReply &operator=(SkyletReply &&other) noexcept;

    /// What is wrong, for people: a clause without a full stop. Empty if VALID.
    QString Message() const;

    STATUS status = EMPTY;
    QString detail; ///< for Message(): the number or text that is wrong; may be empty
    std::unique_ptr<AppPackage> package; ///< set exactly if VALID
};

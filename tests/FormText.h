// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppFormBody.h"

#include <QByteArray>
#include <QByteArrayList>

/// What is read of a form, as text: "usr=[bob] cmd=[1] package=[...]", in the order it is read.
inline QByteArray FormText(AppFormBody *form)
{
    QByteArrayList list;
    AppFormBody::FIELD field;
    while (form->ReadField(&field))
        list.append(field.name.toUtf8() + "=[" + field.value.toUtf8() + ']');
    if (form->PackageSize() > 0) {
        const QByteArray package = form->Bytes().mid(static_cast<int>(form->PackageOffset()),
                                                     static_cast<int>(form->PackageSize()));
        list.append("package=[" + package + ']');
    }
    return list.join(' ');
}

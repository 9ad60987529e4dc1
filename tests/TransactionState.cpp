// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "TransactionState.h"

#include "FormParts.h"
#include "Wire.h"

#include <QByteArrayList>
#include <QCryptographicHash>

namespace
{

/// The characters of a name; bytes that are not printable ASCII in hexadecimal.
QByteArray Described(const AppDosName &name)
{
    QByteArray text;
    for (unsigned int i = 0; i < name.Length(); ++i) {
        const char c = name.Bytes()[i];
        if (c >= 0x20 && c < 0x7F)
            text += c;
        else
            text += "\\x" + QByteArray(1, c).toHex();
    }
    return text;
}

QByteArray Described(const AppDosName &name, const QByteArray &data, bool replace)
{
    return Described(name) + ',' + QByteArray::number(data.size()) + ',' +
           QCryptographicHash::hash(data, QCryptographicHash::Md5).toHex().left(8) +
           (replace ? "!" : "");
}

QByteArray Described(const AppPackage &package)
{
    QByteArray text = "package{" + QByteArray::number(package.result);
    if (!package.Program().data.isEmpty()) {
        const AppPackage::PROGRAM &program = package.Program();
        text += " program " + Described(program.name, program.data, program.replace);
    }
    for (int i = 0; i < package.NumDisks(); ++i) {
        const AppPackage::DISK *disk = package.Disk(i);
        text += " disk " + QByteArray::number(disk->type) + ' ' +
                Described(disk->name, disk->data, disk->replace);
    }
    return text + '}';
}

const QByteArray URL_ENCODED_STATE = "[application/x-www-form-urlencoded\r\n] [] 0 ";
const QByteArray MULTIPART_STATE = "[multipart/form-data;] [XyZ] 0 ";

/// Requests of a device.
std::vector<REQUEST_CASE> DeviceRequests()
{
    return {
        {"search",
         HttpPost(URL_ENCODED, "usr=bob+jones&pwd=5f4dcc3b5aa765d61d8327deb882cf99&dev=1"
                               "&udid=0004A3112233&pat=game%2A&cmd=1&mem=38911"),
         "valid " + URL_ENCODED_STATE +
             "usr=[bob jones] pwd=[5f4dcc3b5aa765d61d8327deb882cf99] dev=1 udid=[0004A3112233]"
             " pat=[GAME*] cmd=1 mem=38911"},
        {"download",
         HttpPost(MULTIPART, FormField("usr", "") + FormField("pwd", "") + FormField("dev", "1") +
                                 FormField("udid", "0004A3112233") + FormField("pat", "Elite") +
                                 FormField("cmd", "2") + FormField("req", "0") + FORM_END),
         "valid " + MULTIPART_STATE + "dev=1 udid=[0004A3112233] pat=[\\xc5LITE] cmd=2 req=0"},
        {"upload-with-package-first",
         HttpPost(MULTIPART, FormFile("up", "package", HelloAndDiskPackage()) +
                                 FormField("udid", "0004A3112233") + FormField("cmd", "3") +
                                 FORM_END),
         "valid " + MULTIPART_STATE + "udid=[0004A3112233] cmd=3 " +
             DescribedImport(HelloAndDiskPackage())},
        {"upload-with-package-last",
         HttpPost(MULTIPART,
                  FormField("cmd", "3") + FormFile("up", "package", HelloPackage()) + FORM_END),
         "valid " + MULTIPART_STATE + "cmd=3 " + DescribedImport(HelloPackage())},
    };
}

/// Requests of other programs, and incomplete ones.
std::vector<REQUEST_CASE> OtherRequests()
{
    return {
        {"pairs-of-a-command-line-client",
         "POST / HTTP/1.1\r\nHost: 127.0.0.1:8080\r\nUser-Agent: tester/7.88.1\r\nAccept: */*\r\n"
         "Content-Length: 22\r\nContent-Type: application/x-www-form-urlencoded\r\n\r\n"
         "cmd=1&pat=A%2A&udid=42",
         "valid " + URL_ENCODED_STATE + "udid=[42] pat=[\\xc1*] cmd=1"},
        {"form-of-a-command-line-client",
         "POST / HTTP/1.1\r\nHost: 127.0.0.1:8080\r\nUser-Agent: tester/7.88.1\r\nAccept: */*\r\n"
         "Content-Length: 232\r\nContent-Type: multipart/form-data;"
         " boundary=------------------------d74496d66958873e\r\n\r\n"
         "--------------------------d74496d66958873e\r\n"
         "Content-Disposition: form-data; name=\"cmd\"\r\n\r\n2\r\n"
         "--------------------------d74496d66958873e\r\n"
         "Content-Disposition: form-data; name=\"req\"\r\n\r\n1\r\n"
         "--------------------------d74496d66958873e--\r\n",
         "valid [multipart/form-data;] [------------------------d74496d66958873e] 0 cmd=2 req=1"},
        {"get-of-an-older-protocol",
         "GET /index.html HTTP/1.0\nContent-Length: 5\nContent-Type: " + URL_ENCODED + "\n\ncmd=1",
         "valid [application/x-www-form-urlencoded\n] [] 0 cmd=1"},
        {"malformed-form", HttpPost(MULTIPART, FormField("cmd", "1") + FormField("usr", "bob")),
         "valid " + MULTIPART_STATE + "usr=[bob] cmd=1"},
        {"other-type", HttpPost("text/plain", "cmd=1"), "valid [text/plain\r\n] [] 0 "},
        {"incomplete", "POST / HTTP/1.1\r\nContent-Type: a b\r\nContent-Length: 9\r\n\r\ncmd=1",
         "invalid [a] [] 4 "},
    };
}

WireObject Hello()
{
    WireObject hello;
    hello.name = PetsciiName("hello");
    hello.data = QByteArray::fromHex("0108");
    return hello;
}

} // namespace

QList<QByteArray> Pieces(const QByteArray &bytes, int size)
{
    QList<QByteArray> segments;
    for (int i = 0; i < bytes.size(); i += size)
        segments.append(bytes.mid(i, size));
    return segments;
}

QByteArray HelloPackage()
{
    WirePackage package;
    package.objects = {Hello()};
    return package.Bytes();
}

QByteArray HelloAndDiskPackage()
{
    WireObject disk;
    disk.type = WireObject::DISK;
    disk.diskType = AppPackage::DISK_D81;
    disk.name = PetsciiName("games");
    WirePackage package;
    package.objects = {Hello(), disk};
    return package.Bytes();
}

void FillWithDisks(AppPackage *package)
{
    const QByteArray image(1066496, 'd');
    for (int i = 0; i < AppPackageFormat::OBJECTS_MAX; ++i)
        package->AddDisk(AppPackage::DISK_D82, AppDosName(), image);
}

QByteArray DescribedImport(const QByteArray &bytes)
{
    AppPackage package;
    package.Import(bytes);
    return Described(package);
}

QByteArray Properties(const AppDeviceTransaction &transaction)
{
    QByteArrayList list;
    const auto addText = [&list](const char *name, const QString &value) {
        if (!value.isEmpty())
            list.append(name + ("=[" + value.toUtf8() + ']'));
    };
    const auto addNumber = [&list](const char *name, int value, int initial) {
        if (value != initial)
            list.append(name + ('=' + QByteArray::number(value)));
    };
    addText("usr", transaction.mUsr);
    addText("pwd", transaction.mPwd);
    addNumber("dev", transaction.mDev, 0);
    addText("udid", transaction.mUdid);
    if (QByteArray(transaction.mPat.Bytes(), AppDosName::SIZE) != QByteArray(16, '\xA0'))
        list.append("pat=[" + Described(transaction.mPat) + ']');
    addNumber("cmd", transaction.mCmd, 0);
    addNumber("req", transaction.mReq, -1);
    addNumber("mem", transaction.mMem, 0);
    if (transaction.mPackage)
        list.append(Described(*transaction.mPackage));
    return list.join(' ');
}

QByteArray State(const AppDeviceTransaction &transaction)
{
    return QByteArray(transaction.mValid ? "valid" : "invalid") +
           (transaction.mHeadersDone ? " [" : " headers [") + transaction.mContentType.toUtf8() +
           "] [" + transaction.mBoundary.toUtf8() + "] " +
           QByteArray::number(transaction.mContentRemaining) + ' ' + Properties(transaction);
}

std::vector<REQUEST_CASE> RequestCases()
{
    std::vector<REQUEST_CASE> requests = DeviceRequests();
    for (const REQUEST_CASE &request : OtherRequests())
        requests.push_back(request);
    return requests;
}

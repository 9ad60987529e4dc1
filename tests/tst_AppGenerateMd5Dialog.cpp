// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppGenerateMd5Dialog.h"
#include "HubFixture.h"
#include "WindowDriver.h"

#include <QSignalSpy>

#include <memory>

using namespace WindowDriver;

class tst_AppGenerateMd5Dialog : public QObject
{
    Q_OBJECT

public:
    /// Runs before the application object is made: that is when the place of the settings is set.
    static void initMain() { static const HubSettings settings; }

private slots:
    void initTestCase();
    void cleanupTestCase();
    void textIsMaskedAtFirst();
    void showTextTogglesTheDisplay();
    void showTextClickedFollowsTheCheckBox();
    void showTextLeavesTextAndDigestAlone();
    void digestIsEmptyUntilAccepted();
    void okHashesTheTextAsTyped_data();
    void okHashesTheTextAsTyped();
    void lengthCountsModulo65536_data();
    void lengthCountsModulo65536();
    void digestIsThereAfterExec();
    void blankKeyTogglesShowText();

private:
    std::unique_ptr<SizeHintsFilter> mFilter;
};

namespace
{

// RFC 1321, appendix A.5: the digest of no bytes.
const QString EMPTY_DIGEST = QStringLiteral("d41d8cd98f00b204e9800998ecf8427e");

/// A dialog that is open and active.
class OpenDialog : public AppGenerateMd5Dialog
{
public:
    OpenDialog() : mFinished(this, &QDialog::finished)
    {
        open();
        Activate(this);
    }

    QLineEdit *Field() const { return Named<QLineEdit>(*this, "textEdit"); }
    QCheckBox *ShowText() const { return Named<QCheckBox>(*this, "showText"); }

    /// The one result that the dialog has finished with, or -1.
    int Result() const { return mFinished.size() == 1 ? mFinished.at(0).at(0).toInt() : -1; }

private:
    QSignalSpy mFinished;
};

} // namespace

void tst_AppGenerateMd5Dialog::initTestCase()
{
    mFilter = std::make_unique<SizeHintsFilter>();
}

void tst_AppGenerateMd5Dialog::cleanupTestCase()
{
    mFilter.reset();
}

void tst_AppGenerateMd5Dialog::textIsMaskedAtFirst()
{
    const OpenDialog dialog;
    QVERIFY(!dialog.ShowText()->isChecked());
    QCOMPARE(dialog.Field()->echoMode(), QLineEdit::Password);
    Type(dialog.Field(), QStringLiteral("secret"));
    QCOMPARE(dialog.Field()->text(), QStringLiteral("secret"));
    QVERIFY(!dialog.Field()->displayText().contains(QLatin1Char('s')));
}

void tst_AppGenerateMd5Dialog::showTextTogglesTheDisplay()
{
    const OpenDialog dialog;
    Type(dialog.Field(), QStringLiteral("secret"));
    Click(dialog.ShowText());
    QVERIFY(dialog.ShowText()->isChecked());
    QCOMPARE(dialog.Field()->echoMode(), QLineEdit::Normal);
    QCOMPARE(dialog.Field()->displayText(), QStringLiteral("secret"));
    Click(dialog.ShowText());
    QVERIFY(!dialog.ShowText()->isChecked());
    QCOMPARE(dialog.Field()->echoMode(), QLineEdit::Password);
    QVERIFY(!dialog.Field()->displayText().contains(QLatin1Char('s')));
}

void tst_AppGenerateMd5Dialog::showTextClickedFollowsTheCheckBox()
{
    OpenDialog dialog;
    dialog.ShowText()->setChecked(true); // nobody has clicked
    QCOMPARE(dialog.Field()->echoMode(), QLineEdit::Password);
    dialog.ShowTextClicked();
    QCOMPARE(dialog.Field()->echoMode(), QLineEdit::Normal);
    dialog.ShowTextClicked(); // shows what is checked, does not toggle
    QCOMPARE(dialog.Field()->echoMode(), QLineEdit::Normal);
}

void tst_AppGenerateMd5Dialog::showTextLeavesTextAndDigestAlone()
{
    OpenDialog dialog;
    Type(dialog.Field(), QStringLiteral("secret"));
    Click(dialog.ShowText());
    QCOMPARE(dialog.Field()->text(), QStringLiteral("secret"));
    QCOMPARE(dialog.mDigest, QString());
    Click(dialog.ShowText());
    Click(dialog.ShowText());
    Click(dialog, "okButton");
    QCOMPARE(dialog.mDigest, QStringLiteral("5ebe2294ecd0e0f08eab7690d2a6ee69"));
}

void tst_AppGenerateMd5Dialog::digestIsEmptyUntilAccepted()
{
    const OpenDialog dialog;
    QCOMPARE(dialog.mDigest, QString());
    Type(dialog.Field(), QStringLiteral("secret"));
    QCOMPARE(dialog.mDigest, QString());
}

void tst_AppGenerateMd5Dialog::okHashesTheTextAsTyped_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("digest");

    // RFC 1321, appendix A.5.
    QTest::newRow("rfc-empty") << QString() << EMPTY_DIGEST;
    QTest::newRow("rfc-a") << "a"
                           << "0cc175b9c0f1b6a831c399e269772661";
    QTest::newRow("rfc-abc") << "abc"
                             << "900150983cd24fb0d6963f7d28e17f72";
    QTest::newRow("rfc-message") << "message digest"
                                 << "f96b697d7cb7938d525a2f31aaf161d0";
    QTest::newRow("rfc-80-digits")
        << QStringLiteral("1234567890").repeated(8) << "57edf4a22be3c955ac49da2e2107b67a";

    QTest::newRow("lower-case") << "secret"
                                << "5ebe2294ecd0e0f08eab7690d2a6ee69";
    QTest::newRow("upper-case-differs") << "SECRET"
                                        << "44c7be48226ebad5dca8216674cad62b";
    QTest::newRow("leading-blank-counts") << " secret"
                                          << "cef748b9c74b854a49ba638b838da817";
    QTest::newRow("trailing-blank-counts") << "secret "
                                           << "2ee62715b696c1801533d52caad8ba64";
    QTest::newRow("latin-1-is-one-byte-each")
        << QString::fromLatin1("M\xFCller") << "52295df07df43961283f2f6dbf08d62c";
    QTest::newRow("last-of-latin-1")
        << QString::fromLatin1("\xFF") << "00594fd4f42ba43fc1ca0427a0576295";
    QTest::newRow("outside-latin-1-is-a-question-mark")
        << QString::fromUtf8("5 \xE2\x82\xAC") << "0d432a8f1678688cb563f2a5e1320e52";
    QTest::newRow("question-mark-itself") << "5 ?"
                                          << "0d432a8f1678688cb563f2a5e1320e52";
    QTest::newRow("beyond-the-first-plane-is-two")
        << QString::fromUtf8("\xF0\x9F\x92\xBE") << "ea03fcb8c47822bce772cf6c07d0ebbb";
    QTest::newRow("markup-and-placeholder") << "<b>%1 & \"x\"</b>"
                                            << "4e2877e23eab0f8b4534df7ae1becc6f";
}

void tst_AppGenerateMd5Dialog::okHashesTheTextAsTyped()
{
    QFETCH(const QString, text);
    QFETCH(const QString, digest);
    OpenDialog dialog;
    Type(dialog.Field(), text);
    QCOMPARE(dialog.Field()->text(), text);
    Click(dialog, "okButton");
    QCOMPARE(dialog.Result(), int(QDialog::Accepted));
    QCOMPARE(dialog.mDigest, digest);
}

void tst_AppGenerateMd5Dialog::lengthCountsModulo65536_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<QString>("digest");

    QTest::newRow("55") << 55 << "04364420e25c512fd958a70738aa8f72";
    QTest::newRow("56") << 56 << "668a72d5ba17f08e62dabcafad6db14b";
    QTest::newRow("64") << 64 << "c1bb4f81d892b2d57947682aeb252456";
    QTest::newRow("32767") << 32767 << "d405e9db29a0aa4a6b5aacba6b88bab0";
    QTest::newRow("32768") << 32768 << "56593bcab74581f4f560cd13723e451a";
    QTest::newRow("65535-is-the-longest") << 65535 << "465343584a4bb82ce18ba0afea0a58f6";
    QTest::newRow("65536-is-the-empty-text") << 65536 << EMPTY_DIGEST;
    QTest::newRow("65537-is-one-character") << 65537 << "9dd4e461268c8034f5c8564e155c67a6";
    QTest::newRow("70000-is-4464-characters") << 70000 << "249395b93d9875a2b01b777fb3e7aa89";
}

void tst_AppGenerateMd5Dialog::lengthCountsModulo65536()
{
    QFETCH(const int, length);
    QFETCH(const QString, digest);
    OpenDialog dialog;
    dialog.Field()->setText(QString(length, QLatin1Char('x')));
    QCOMPARE(int(dialog.Field()->text().size()), length);
    Click(dialog, "okButton");
    QCOMPARE(dialog.mDigest, digest);
}

void tst_AppGenerateMd5Dialog::digestIsThereAfterExec()
{
    AppGenerateMd5Dialog dialog;
    ModalAnswer<AppGenerateMd5Dialog> answer([](AppGenerateMd5Dialog *shown) {
        Type(Named<QLineEdit>(*shown, "textEdit"), QStringLiteral("abc"));
        Click(*shown, "okButton");
    });
    QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    QVERIFY(answer.Answered());
    QCOMPARE(dialog.mDigest, QStringLiteral("900150983cd24fb0d6963f7d28e17f72"));
}

void tst_AppGenerateMd5Dialog::blankKeyTogglesShowText()
{
    const OpenDialog dialog;
    Press(Qt::Key_Tab);
    Press(Qt::Key_Space);
    QVERIFY(dialog.ShowText()->isChecked());
    QCOMPARE(dialog.Field()->echoMode(), QLineEdit::Normal);
}

QTEST_MAIN(tst_AppGenerateMd5Dialog)

#include "tst_AppGenerateMd5Dialog.moc"

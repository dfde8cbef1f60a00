#include "platform/qt/appcast_updater.h"

#include <QApplication>
#include <QDateTime>
#include <QDialog>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QSslSocket>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace vestigo {
namespace {

/// A web server on this machine that gives every request the same answer.
class FeedServer : public QSslServer {
public:
    FeedServer(const QSslCertificate& certificate, const QSslKey& key) {
        auto configuration = QSslConfiguration::defaultConfiguration();
        configuration.setLocalCertificate(certificate);
        configuration.setPrivateKey(key);
        setSslConfiguration(configuration);
        connect(this, &QTcpServer::pendingConnectionAvailable, this, [this] {
            while (auto* const socket = nextPendingConnection()) {
                connect(socket, &QIODevice::readyRead, socket, [this, socket] {
                    if (!socket->readAll().contains("\r\n\r\n")) return;
                    ++requests;
                    socket->write(answer);
                    socket->disconnectFromHost();
                });
            }
        });
        listen(QHostAddress::LocalHost);
    }
    [[nodiscard]] QUrl url() const {
        return QUrl(QStringLiteral("https://localhost:%1/feed.xml").arg(serverPort()));
    }
    void serve(const QByteArray& body) {
        answer = "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " +
                 QByteArray::number(body.size()) + "\r\n\r\n" + body;
    }

    QByteArray answer;
    int requests = 0;
};

QByteArray feedWith(const QByteArray& version) {
    return R"(<rss xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle"><channel>)"
           "<item><link>https://example.com/download</link><description>New.</description>"
           "<sparkle:version>" +
           version + "</sparkle:version></item></channel></rss>";
}

class AppcastUpdaterTest : public testing::Test {
protected:
    void SetUp() override {
        QProcess maker;
        maker.start("openssl",
                    {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-batch", "-days", "2",
                     "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost", "-keyout",
                     file("key.pem"), "-out", file("certificate.pem")});
        ASSERT_TRUE(maker.waitForFinished() && maker.exitCode() == 0);
        certificates = QSslCertificate::fromPath(file("certificate.pem"));
        QFile keyFile(file("key.pem"));
        ASSERT_TRUE(keyFile.open(QIODevice::ReadOnly));
        server = std::make_unique<FeedServer>(certificates.at(0), QSslKey(&keyFile, QSsl::Rsa));
    }
    void TearDown() override { updater.reset(); }
    QString file(const char* name) const { return folder.filePath(QLatin1String(name)); }
    std::unique_ptr<QSettings> settings() const {
        return std::make_unique<QSettings>(file("updater.ini"), QSettings::IniFormat);
    }
    void start(const QUrl& feed) {
        auto trusted = QSslConfiguration::defaultConfiguration();
        trusted.setCaCertificates(certificates);
        QSslConfiguration::setDefaultConfiguration(trusted);
        updater = std::make_unique<AppcastUpdater>(
            feed, "1.0",
            AppcastServices{.settings = settings(),
                            .network = std::make_unique<QNetworkAccessManager>(),
                            .openPage = [this](const QUrl& page) { opened = page; },
                            .delay = delay});
    }
    /// What the dialog that comes up says.
    QString outcome() {
        QString text;
        EXPECT_TRUE(QTest::qWaitFor([&] { return dialog() != nullptr; }));
        if (!dialog()) return text;
        for (const auto* const label : dialog()->findChildren<QLabel*>()) text += label->text();
        return text;
    }
    static QDialog* dialog() {
        for (auto* const each : QApplication::topLevelWidgets()) {
            if (each->objectName() == QLatin1String("updateDialog") && each->isVisible()) {
                return qobject_cast<QDialog*>(each);
            }
        }
        return nullptr;
    }
    static void press(const char* name) {
        dialog()->findChild<QPushButton*>(QLatin1String(name))->click();
    }
    QString askedByUser() {
        updater->checkForUpdates();
        const auto text = outcome();
        if (dialog()) dialog()->close();
        return text;
    }

    QTemporaryDir folder;
    QList<QSslCertificate> certificates;
    std::unique_ptr<FeedServer> server;
    std::unique_ptr<AppcastUpdater> updater;
    QUrl opened;
    std::chrono::milliseconds delay = std::chrono::hours(1);
};

TEST_F(AppcastUpdaterTest, ShowsEveryOutcomeToTheUserWhoAsked) {
    start(server->url());
    server->serve(feedWith("1.0"));
    EXPECT_TRUE(askedByUser().startsWith("You’re up to date"));
    server->serve("not a feed");
    EXPECT_TRUE(askedByUser().startsWith("Could not look for updates"));
    server->serve(QByteArray(2 * 1024 * 1024, ' '));
    EXPECT_TRUE(askedByUser().startsWith("Could not look for updates"));
    server->answer =
        "HTTP/1.1 302 Found\r\nConnection: close\r\nContent-Length: 0\r\n"
        "Location: http://localhost/feed.xml\r\n\r\n";
    EXPECT_TRUE(askedByUser().startsWith("Could not look for updates"));

    server->serve(feedWith("1.1"));
    updater->checkForUpdates();
    EXPECT_TRUE(outcome().contains("1.1"));
    press("openPage");
    EXPECT_EQ(opened, QUrl("https://example.com/download"));
    EXPECT_TRUE(QTest::qWaitFor([] { return dialog() == nullptr; }));
    updater->checkForUpdates();
    EXPECT_TRUE(outcome().startsWith("A newer version"));
    press("later");
    EXPECT_TRUE(QTest::qWaitFor([] { return dialog() == nullptr; }));
}

TEST_F(AppcastUpdaterTest, AsksOnlyOverHttps) {
    auto plain = server->url();
    plain.setScheme("http");
    start(plain);
    EXPECT_TRUE(askedByUser().startsWith("Could not look for updates"));
    EXPECT_EQ(server->requests, 0);
}

TEST_F(AppcastUpdaterTest, ByItselfAsksOnceADayAndKeepsFailuresToItself) {
    delay = std::chrono::milliseconds(0);
    server->serve("not a feed");
    start(server->url());
    EXPECT_TRUE(QTest::qWaitFor([&] { return server->requests == 1; }));
    start(server->url());
    QTest::qWait(100);
    EXPECT_EQ(server->requests, 1);
    EXPECT_FALSE(dialog());

    // A day ago, or in the future: the clock has been set back.
    for (const qint64 away : {-86401, 1000}) {
        settings()->setValue("VGUpdaterLastCheck", QDateTime::currentSecsSinceEpoch() + away);
        const int before = server->requests;
        start(server->url());
        EXPECT_TRUE(QTest::qWaitFor([&] { return server->requests == before + 1; })) << away;
    }
    server->serve(feedWith("2.0"));
    settings()->setValue("VGUpdaterLastCheck", 0);
    start(server->url());
    EXPECT_TRUE(outcome().startsWith("A newer version"));
}

TEST_F(AppcastUpdaterTest, KeepsItsSettingAndMayEndInTheMiddleOfACheck) {
    start(server->url());
    EXPECT_TRUE(updater->automaticallyChecksForUpdates());
    updater->setAutomaticallyChecksForUpdates(false);
    start(server->url());
    EXPECT_FALSE(updater->automaticallyChecksForUpdates());
    server->serve(feedWith("1.1"));
    updater->checkForUpdates();
    updater.reset();
    QCoreApplication::processEvents();
    EXPECT_FALSE(dialog());
}

}  // namespace
}  // namespace vestigo

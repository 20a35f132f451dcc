// Drives the unchanged program window_host as a person would, with mouse and keyboard, and checks what its
// window shows. It is preloaded, and starts when the program has made its QApplication. The environment
// variable WINDOW_DRIVER_LAB is the lab server's URL, and WINDOW_DRIVER_PICTURE the file that gets a picture
// of the window. The exit status is 1 after a failed check.

#include <ktshttpagent/CUIAgentRsp.h>

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iostream>

namespace
{

constexpr int LONGEST_WAIT_MS = 60'000;
constexpr const char* CHECK_PATH = "vomd/system/channelCheckData.action";
constexpr const char* REPORT_PATH = "vomd/system/addstatuslog.action";
constexpr const char* PROJECTS_PATH = "vomd/system/GetSyxm.action";

[[noreturn]] void Fail(const QString& strWhat)
{
    std::cerr << "FAILS: " << strWhat.toStdString() << std::endl;
    std::_Exit(EXIT_FAILURE); // from within the program's event loop, so without its help
}

void Require(bool bHolds, const QString& strWhat)
{
    if (!bHolds) {
        Fail(strWhat);
    }
    std::cout << "ok: " << strWhat.toStdString() << std::endl;
}

void Await(const std::function<bool()>& fnCondition, const QString& strWhat)
{
    Require(QTest::qWaitFor(fnCondition, LONGEST_WAIT_MS), strWhat);
}

/// The lab server's operator.
class Operator
{
public:
    /// Lets the next request to a path fail, or take long.
    void AddFault(const char* szPath, QJsonObject fault)
    {
        fault["path"] = szPath;
        fault["count"] = 1;
        QNetworkRequest request(Url("/lab/faults"));
        request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
        Finish(m_network.post(request, QJsonDocument(fault).toJson()));
    }

    QJsonArray ChannelReports()
    {
        return Finish(m_network.get(QNetworkRequest(Url("/lab/reports/channel-status"))))["reports"]
            .toArray();
    }

private:
    static QUrl Url(const char* szPath) { return qEnvironmentVariable("WINDOW_DRIVER_LAB") + szPath; }

    static QJsonObject Finish(QNetworkReply* pReply)
    {
        if (!QTest::qWaitFor([&] { return pReply->isFinished(); }, LONGEST_WAIT_MS) ||
            pReply->error() != QNetworkReply::NoError) {
            Fail("the lab server's operator: " + pReply->errorString());
        }
        pReply->deleteLater();
        return QJsonDocument::fromJson(pReply->readAll()).object();
    }

    QNetworkAccessManager m_network;
};

/// The program's window.
class Window
{
public:
    template <class Widget>
    Widget& The() const
    {
        auto* const pWidget = m_pWindow->findChild<Widget*>();
        if (pWidget == nullptr) {
            Fail(QString("no ") + Widget::staticMetaObject.className());
        }
        return *pWidget;
    }

    QPushButton& Button(const char* szText) const
    {
        for (QPushButton* const pButton : m_pWindow->findChildren<QPushButton*>()) {
            if (pButton->text().remove('&').startsWith(szText)) {
                return *pButton;
            }
        }
        Fail(QString("no button ") + szText);
    }

    bool Shows(const QString& strText) const
    {
        const auto lstLabels = m_pWindow->findChildren<QLabel*>();
        return std::any_of(lstLabels.begin(), lstLabels.end(), [&](const QLabel* pLabel) {
            return pLabel->isVisible() && pLabel->text().startsWith(strText);
        });
    }

    void AwaitText(const QString& strText) const
    {
        Await([&] { return Shows(strText); }, "shows: " + strText);
    }

    void Click(const char* szButton) const
    {
        Require(Button(szButton).isEnabled(), QString("the user can click ") + szButton);
        QTest::mouseClick(&Button(szButton), Qt::LeftButton);
    }

    void Check(int nChannel) const
    {
        auto& channel = The<QSpinBox>();
        channel.selectAll();
        QTest::keyClicks(&channel, QString::number(nChannel));
        Click("Check");
    }

    bool IsBusy() const { return The<QProgressBar>().maximum() == 0; }
    QWidget& Top() const { return *m_pWindow; }

private:
    static QWidget* Find()
    {
        const auto fnIsThere = [] { return !QApplication::topLevelWidgets().isEmpty(); };
        Await(fnIsThere, "the program has a window");
        return QApplication::topLevelWidgets().first()->window();
    }

    QWidget* const m_pWindow = Find();
};

void TestProjects(const Window& window, Operator& lab)
{
    lab.AddFault(PROJECTS_PATH, {{"status", 502}});
    window.Click("Load");
    window.AwaitText("The server does not answer, or says no.");
    Require(!window.Button("Check").isEnabled(), "without a project no channel can be checked");
    window.Click("Load");
    auto& list = window.The<QTreeWidget>();
    Await([&] { return list.topLevelItemCount() == 3; }, "the list has the server's three projects");
    Require(list.topLevelItem(0)->text(4) == QStringLiteral("常温1C循环"), "the first one has its name");
    const QRect row = list.visualItemRect(list.topLevelItem(0));
    QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, row.center());
    window.AwaitText(QStringLiteral("常温1C循环, WT-2024-1201"));
}

void AwaitSeconds(const Window& window)
{
    Await(
        [&] {
            return window.Shows("Waiting for the server, ") && !window.Shows("Waiting for the server, 0 s");
        },
        "it counts the seconds, so the window is alive");
}

void TestCancel(const Window& window, Operator& lab)
{
    int nAnswers = 0; // connected after the window is, so the window has had each answer that is counted
    const QObject context;
    QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetChannelCheckDataRet, &context,
                     [&] { ++nAnswers; });
    lab.AddFault(CHECK_PATH, {{"delayMs", 6000}});
    window.Check(1);
    AwaitSeconds(window);
    Require(window.IsBusy(), "it shows that it waits");
    Require(!window.Button("Check").isEnabled(), "it checks one channel at a time");
    window.Click("Cancel");
    window.AwaitText("Cancelled.");
    Require(!window.IsBusy(), "it waits no more");
    window.Click("Check");
    Require(window.Shows("The answer to the cancelled check of this channel is still on its way.") ||
                nAnswers > 0,
            "it does not ask the same again while the answer is to come");
    window.Check(2);
    window.AwaitText("The channel may start: No restriction");
    Await([&] { return nAnswers == 2; }, "the answer to the cancelled check comes");
    Require(window.Shows("The channel may start: No restriction"), "it is ignored");
}

void TestRefusals(const Window& window, Operator& lab)
{
    window.Check(8);
    window.AwaitText("The channel must not start: Channel 8 waits for calibration");
    lab.AddFault(CHECK_PATH, {{"status", 502}});
    window.Check(3);
    window.AwaitText("No answer, so the channel must not start.");
}

void TestReport(const Window& window, Operator& lab)
{
    lab.AddFault(REPORT_PATH, {{"status", 500}});
    window.Click("Report the start of channel 2 of KTS-0007");
    window.AwaitText("The report has not arrived, or the server refused it.");
    window.Click("Report the start of channel 2 of KTS-0007");
    window.AwaitText("The server has the report.");
    Require(!window.Button("Report").isEnabled(), "no other channel may be reported");
    const QJsonArray reports = lab.ChannelReports();
    Require(reports.size() == 1, "the lab server has one report");
    const QJsonObject report = reports[0].toObject()["report"].toObject();
    Require(report["chl"] == "2" && report["deviceId"] == "KTS-0007" && report["dxtm"] == "CELL-0001",
            "it is about the channel that was checked");
    Require(report["wtNumId"] == 1201 && report["xmNameId"] == 107, "and about the selected project");
}

void TakePicture(const Window& window, Operator& lab)
{
    lab.AddFault(CHECK_PATH, {{"delayMs", 4000}});
    window.Check(3);
    AwaitSeconds(window);
    Require(window.Top().grab().save(qEnvironmentVariable("WINDOW_DRIVER_PICTURE")), "takes a picture");
}

void Drive()
{
    Operator lab;
    const Window window;
    TestProjects(window, lab);
    TestCancel(window, lab);
    TestRefusals(window, lab);
    TestReport(window, lab);
    TakePicture(window, lab);
    window.Top().close(); // while it waits; this ends the program
}

void Start()
{
    if (qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr) {
        QTimer::singleShot(0, &Drive);
    }
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(Start)

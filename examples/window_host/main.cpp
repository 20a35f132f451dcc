// A host with a window: lists test projects, checks whether a channel may start, and reports that it has
// started.
//
//     window_host [HOST [PORT]]

#include "ChannelCheckPanel.h"
#include "ProjectsPanel.h"
#include "ReportPanel.h"
#include "Server.h"

#include <ktshttpagent/CUIAgentReq.h>

#include <QApplication>
#include <QVBoxLayout>
#include <QWidget>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const QStringList lstArguments = QApplication::arguments();
    const Server server{lstArguments.value(1, "127.0.0.1"), lstArguments.value(2, "8080").toInt(), "1.1.0"};

    // Texts that the user types reach the server as they are, whatever characters they contain.
    CUIAgentReq::Instance()->SetQueryEscaping(true);

    QWidget window;
    window.setWindowTitle("Laboratory host");
    window.resize(640, 560);
    auto* const pPanels = new QVBoxLayout;
    window.setLayout(pPanels);

    auto* const pProjects = new ProjectsPanel(server);
    pPanels->addWidget(pProjects);

    auto* const pCheck = new ChannelCheckPanel(server);
    pPanels->addWidget(pCheck);
    QObject::connect(pProjects, &ProjectsPanel::ProjectSelected, pCheck, &ChannelCheckPanel::SetProject);

    auto* const pReport = new ReportPanel(server);
    pPanels->addWidget(pReport);
    QObject::connect(pCheck, &ChannelCheckPanel::ChannelAllowed, pReport, &ReportPanel::AddChannel);

    window.show();
    return QApplication::exec();
}

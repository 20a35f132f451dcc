#include "ProjectsPanel.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

ProjectsPanel::ProjectsPanel(const Server& server, QWidget* pParent)
    : QGroupBox(tr("Projects"), pParent),
      m_server(server),
      m_pBarcodes(new QLineEdit("CELL-0001, CELL-0002")),
      m_pLoad(new QPushButton(tr("&Load"))),
      m_pList(new QTreeWidget),
      m_pStatus(new QLabel(tr("Enter the barcodes of cells, separated by commas.")))
{
    m_pList->setHeaderLabels({tr("No."), tr("Work order"), tr("Class"), tr("Test type"), tr("Project")});
    m_pList->setRootIsDecorated(false);
    m_pList->header()->setSectionResizeMode(QHeaderView::Stretch);

    auto* const pQuestion = new QHBoxLayout;
    pQuestion->addWidget(new QLabel(tr("Cells")));
    pQuestion->addWidget(m_pBarcodes);
    pQuestion->addWidget(m_pLoad);
    auto* const pRows = new QVBoxLayout(this);
    pRows->addLayout(pQuestion);
    pRows->addWidget(m_pList);
    pRows->addWidget(m_pStatus);

    connect(m_pLoad, &QPushButton::clicked, this, &ProjectsPanel::Load);
    connect(m_pList, &QTreeWidget::itemSelectionChanged, this, &ProjectsPanel::Select);
    connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetProjectsRet, this, &ProjectsPanel::ShowAnswer);
}

void ProjectsPanel::Load()
{
    QStringList lstBarcodes;
    for (const QString& strBarcode : m_pBarcodes->text().split(',', Qt::SkipEmptyParts)) {
        lstBarcodes << strBarcode.trimmed();
    }
    m_pLoad->setEnabled(false); // until the answer comes; one always comes
    m_pStatus->setText(tr("Waiting for the server …"));
    CUIAgentReq::Instance()->SendGetProjects(m_server.strHost, m_server.nPort, lstBarcodes,
                                             m_server.strVersion);
}

void ProjectsPanel::ShowAnswer(bool bSucc, const QVariant& varAnswer)
{
    m_pLoad->setEnabled(true);
    if (!bSucc) {
        m_pStatus->setText(tr("The server does not answer, or says no. The log says why."));
        return;
    }
    m_vecProjects = varAnswer.value<SResponseGetProject>().lstProject;
    ShowProjects();
}

void ProjectsPanel::ShowProjects()
{
    m_pList->clear();
    for (const SProjectItem& project : m_vecProjects) {
        const QStringList lstColumns = {
            QString::fromStdString(project.xh), QString::fromStdString(project.wtdh.name),
            QString::fromStdString(project.xmClassify.name), QString::fromStdString(project.csType.name),
            QString::fromStdString(project.xmName.name)};
        m_pList->addTopLevelItem(new QTreeWidgetItem(lstColumns));
    }
    m_pStatus->setText(tr("Projects: %1").arg(m_vecProjects.size()));
}

void ProjectsPanel::Select()
{
    const int nRow = m_pList->currentIndex().row();
    if (nRow >= 0 && nRow < static_cast<int>(m_vecProjects.size())) {
        Q_EMIT ProjectSelected(m_vecProjects[static_cast<std::size_t>(nRow)]);
    }
}

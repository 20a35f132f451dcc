#pragma once

#include "Server.h"

#include <ktshttpagent/ResultVariants.h>

#include <QGroupBox>
#include <QVariant>

#include <vector>

class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;

/// Asks the server for the test projects of cells, and lists them.
class ProjectsPanel : public QGroupBox
{
    Q_OBJECT

public:
    explicit ProjectsPanel(const Server& server, QWidget* pParent = nullptr);

Q_SIGNALS:
    /// The user has selected a project in the list.
    void ProjectSelected(const SProjectItem& project);

private:
    void Load();
    void ShowAnswer(bool bSucc, const QVariant& varAnswer);
    void ShowProjects();
    void Select();

    const Server m_server;
    std::vector<SProjectItem> m_vecProjects; ///< in the order of the list's rows
    QLineEdit* const m_pBarcodes;
    QPushButton* const m_pLoad;
    QTreeWidget* const m_pList;
    QLabel* const m_pStatus;
};

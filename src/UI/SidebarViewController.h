// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Execution/ScriptExecutorManager.h"
#include "Model/ScriptDragAndDrop.h"
#include "Model/ScriptsManager.h"
#include "UI/SidebarModel.h"
#include "UI/TQOutlineView.h"

#include <QObject>
#include <QPointer>

#include <memory>

class NotificationCenter;
class QAction;
class QMenu;

// Keeps the sidebar in step with the library and the runs, announces the selected row with
// "SelectionChanged", and builds the rows' context menus. The menus' actions are carried out
// by whoever connects to the request signals (the main window controller).
class SidebarViewController : public QObject
{
    Q_OBJECT
public:
    static QString selectionChangedNotification() { return QStringLiteral("SelectionChanged"); }

    SidebarViewController(TQOutlineView* sourceListView, NotificationCenter* notificationCenter,
                          QObject* parent = nullptr);
    ~SidebarViewController() override;

    TQOutlineView* sourceListView() const { return m_sourceListView; }
    SidebarModel* model() const { return m_model; }

    void setScriptsManager(ScriptsManager* scriptsManager);
    void setScriptExecutor(ScriptExecutorManager* scriptExecutor);

    // Selects this script's row alone; false when it has none.
    bool selectScript(const ScriptPtr& script);
    bool selectRunningScript(const RunningScriptPtr& runningScript);
    // What the selected row represents (nothing for no selection).
    SidebarNode::RepresentedObject selectedObject() const;

    // The context menu of a row; null for headers. The caller owns it.
    QMenu* menuForRow(const QModelIndex& row);

signals:
    void saveToRequested(QObject* sender);
    void deleteScriptRequested(QObject* sender);
    void duplicateRequested(QObject* sender);
    void deleteRunningScriptRequested(QObject* sender);

private:
    void announceSelection();
    void setUpDragAndDrop();
    bool selectIndex(const QModelIndex& index);

    QPointer<TQOutlineView> m_sourceListView;
    SidebarModel* m_model = nullptr;
    QPointer<NotificationCenter> m_notificationCenter;
    QPointer<ScriptsManager> m_scriptsManager;
    std::unique_ptr<ScriptDragAndDrop> m_dragAndDrop;
    QMetaObject::Connection m_scriptsManagerSubsriction;
    QPointer<ScriptExecutorManager> m_scriptExecutor;
    QMetaObject::Connection m_scriptExecutorSubsriction;
    const void* m_announced = nullptr;
};

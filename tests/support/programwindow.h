#pragma once

#include "core/app/scalefactors.h"
#include "core/devices/devmanager.h"
#include "core/dsp/dspexchange.h"
#include "core/protocol/ipv4.h"
#include "core/protocol/devicelink.h"
#include "gui/app/mainwindow.h"
#include "gui/widgets/style.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

/// The program's main window on one page, listening on loopback where corvane-sim's devices live.
class ProgramWindow
{
public:
    ~ProgramWindow() { delete m_window; }

    /// designedSize: the scale of a 1920x1080 screen at 96 dpi and the application's style sheet, so that sizes
    /// and pictures come out as designed.
    bool open(MainWindow::Page page, bool designedSize = false)
    {
        if (designedSize) {
            applyScaleFactors(computeScaleFactors(ScreenMetrics{1920, 1080, 1920, 1080, 96}));
            qApp->setStyleSheet(Style::applicationStyleSheet());
        }
        m_window = new MainWindow(m_dir.path());
        m_window->setQuitConfirmed(true);
        m_window->show();
        m_window->setPage(page);
        return m_window->startNetwork(QStringLiteral("127.0.0.1"));
    }

    MainWindow *operator->() const { return m_window; }
    MainWindow *window() const { return m_window; }
    template<class T> T *page(MainWindow::Page p) const { return qobject_cast<T *>(m_window->pageWidget(p)); }
    const DevManager &registry() const { return m_window->deviceLink()->registry(); }

    /// Waits until the registry holds at least this many devices and flows.
    bool waitForNetwork(int devices, int flows = 0, int timeoutMs = 15000) const
    {
        return QTest::qWaitFor(
            [&] { return registry().deviceCount() >= devices && registry().flowCount() >= flows; }, timeoutMs);
    }

    /// The device's configuration as a new "getConfig" over its own link gives it now, apart from any window's
    /// controller; empty when the device does not answer.
    QJsonObject freshConfig(const QString &devId) const
    {
        const auto dev = registry().findByDevId(devId);
        if (!dev)
            return {};
        const DspExchange::Result fresh =
            DspExchange::run(Ipv4::toText(dev->rec.ip), QStringLiteral(R"({"ops":"getConfig","uiTag":"dspUiTag"})"));
        return fresh.ok ? QJsonDocument::fromJson(fresh.reply.toUtf8()).object().value("config").toObject()
                        : QJsonObject();
    }
    /// A block of a fresh configuration: on the first (inputs) or last (outputs) node.
    static QJsonObject blockOf(const QJsonObject &config, bool outputs, int channel, int proc)
    {
        const QJsonArray nodes = config.value("nodeArr").toArray();
        const QJsonObject node = (outputs ? nodes.last() : nodes.first()).toObject();
        return node.value("portArr")[channel].toObject().value("procArr")[proc].toObject();
    }

private:
    QTemporaryDir m_dir;
    MainWindow *m_window = nullptr;
};

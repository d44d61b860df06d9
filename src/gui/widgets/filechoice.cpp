#include "gui/widgets/filechoice.h"

#include <QFileDialog>

namespace {

FileChoice::Hook &hook()
{
    static FileChoice::Hook h;
    return h;
}

QString choose(bool save, QWidget *parent, const QString &caption, const QString &filter, LastFolders::Kind kind)
{
    QString path;
    if (hook()) {
        path = hook()(save, caption, filter);
    } else {
        const QString dir = LastFolders::folder(kind);
        path = save ? QFileDialog::getSaveFileName(parent, caption, dir, filter)
                    : QFileDialog::getOpenFileName(parent, caption, dir, filter);
    }
    LastFolders::remember(kind, path);
    return path;
}

} // namespace

namespace FileChoice {

QString open(QWidget *parent, const QString &caption, const QString &filter, LastFolders::Kind kind)
{
    return choose(false, parent, caption, filter, kind);
}

QString save(QWidget *parent, const QString &caption, const QString &filter, LastFolders::Kind kind)
{
    return choose(true, parent, caption, filter, kind);
}

void setHook(Hook h)
{
    hook() = std::move(h);
}

} // namespace FileChoice

#pragma once

#include <QObject>

/// The process-wide language flag: false = English, true = Chinese.
/// Read from any thread; changed only on the user-interface thread.
class Language : public QObject
{
    Q_OBJECT
public:
    static Language *instance();
    static bool isChinese();
    static void setChinese(bool chinese);

signals:
    void changed(bool chinese);

private:
    Language() = default;
};

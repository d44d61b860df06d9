// Must fail to compile under the core library's include rules.
#include <QtWidgets/QWidget>
int probe() { return sizeof(QWidget); }

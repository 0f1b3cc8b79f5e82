#include <QObject>

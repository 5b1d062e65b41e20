#include "WidgetResources.h"

#include <QtGlobal>

// Q_INIT_RESOURCE declares a function and may therefore not stand in a namespace or class.
void initWidgetResources()
{
    Q_INIT_RESOURCE(resources);
}

#include "system/pconfig.h"

pConfig *pConfig::getInstance()
{
    static pConfig instance;
    return &instance;
}

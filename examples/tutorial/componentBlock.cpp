// [implement]
#include "tutorial/componentBlock.h"

TAMRA_COMPONENT_IMPLEMENT(ComponentBlock, CEntityComponentRepository);
// [implement end]

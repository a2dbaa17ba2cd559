// The three control types with their definitions, for the files that instantiate templates on them.
#pragma once

#include "products/control_types.h"
#include "products/orva/channel/control.h"
#include "products/selka/channel/control.h"
#include "products/selka/selkaplus/channel/control.h"

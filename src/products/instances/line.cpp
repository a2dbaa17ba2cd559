#include "base/manager/loops/line.ipp"

#include "products/control_types_full.h"
#include "products/orva/orvakin/line.h"

template class manager::loops::line<products::orva_control>;
template class manager::loops::line<products::selka_control>;
template class manager::loops::line<products::selkaplus_control>;

template class products::orva::orvakin::line<products::orva_control>;

// The selka managers, instantiated for their control types.
#include "products/control_types_full.h"
#include "products/selka/manager.ipp"

template class manager::base<products::selka_control, products::selka_control>;
template class manager::base<products::selkaplus_control, products::selkaplus_control>;
template class products::selka::manager<products::selka_control, products::selka_control>;
template class products::selka::manager<products::selkaplus_control, products::selkaplus_control>;
template class products::selka::selkaplus::manager<products::selkaplus_control,
                                                   products::selkaplus_control>;

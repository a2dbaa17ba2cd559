#include "base/manager/loops/client_rx.ipp"

#include "products/control_types_full.h"
#include "products/selka/client_rx.ipp"

template class manager::loops::client_loop<products::orva_control>;
template class manager::loops::client_loop<products::selka_control>;
template class manager::loops::client_loop<products::selkaplus_control>;

template class manager::loops::client_rx<products::orva_control>;
template class manager::loops::client_rx<products::selka_control>;
template class manager::loops::client_rx<products::selkaplus_control>;

template class products::selka::client_rx<products::selka_control>;
template class products::selka::client_rx<products::selkaplus_control>;

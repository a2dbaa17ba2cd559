#include "base/manager/loops/client_tx.ipp"

#include "products/control_types_full.h"
#include "products/orva/client_tx.ipp"
#include "products/orva/orvakin/client_loops.ipp"
#include "products/orva/orvapro/client_tx.ipp"

template class manager::loops::client_tx<products::orva_control>;
template class manager::loops::client_tx<products::selka_control>;
template class manager::loops::client_tx<products::selkaplus_control>;

template class products::orva::client_tx<products::orva_control>;
template class products::orva::orvapro::client_tx<products::orva_control>;
template class products::orva::orvakin::client_tx<products::orva_control>;
template class products::orva::orvakin::client_rx<products::orva_control>;

// The channel controls and plans, instantiated for the three control types.
#include "base/channel/plan.ipp"
#include "products/orva/channel/control.ipp"
#include "products/selka/channel/control.ipp"
#include "products/selka/selkaplus/channel/control.ipp"

template class channel::control::base<products::orva::channel::base>;
template class channel::control::base<products::selka::channel::base>;
template class channel::control::base<products::selka::selkaplus::channel::base>;

template class products::orva::channel::control<products::orva::channel::base>;
template class products::selka::channel::control<products::selka::channel::base>;
template class products::selka::channel::control<products::selka::selkaplus::channel::base>;
template class products::selka::selkaplus::channel::control<
    products::selka::selkaplus::channel::base>;

#include "products/control_types.h"

template class channel::plan<products::orva_control>;
template class channel::plan<products::selka_control>;
template class channel::plan<products::selkaplus_control>;

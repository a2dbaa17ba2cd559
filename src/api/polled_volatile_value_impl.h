// A getter as the source of a hysteresis_filtered_value.
#pragma once

#include "api/async_volatile_value.h"
#include "api/filtered_value.h"

namespace nx::api {

template <auto Getter>
using polled_volatile_value_impl =
    async_volatile_value<polled_value_base<typename member_traits<decltype(Getter)>::result_type>,
                         Getter>;

}  // namespace nx::api

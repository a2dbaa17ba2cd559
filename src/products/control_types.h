// The three channel control types that every plan, loop and manager exists for, by name only.
#pragma once

namespace products::orva::channel {
class base;
template <class T>
class control;
}  // namespace products::orva::channel

namespace products::selka::channel {
class base;
template <class T>
class control;
}  // namespace products::selka::channel

namespace products::selka::selkaplus::channel {
class base;
template <class T>
class control;
}  // namespace products::selka::selkaplus::channel

namespace products {
using orva_control = orva::channel::control<orva::channel::base>;
using selka_control = selka::channel::control<selka::channel::base>;
using selkaplus_control = selka::selkaplus::channel::control<selka::selkaplus::channel::base>;
}  // namespace products

// Selka peers: an orva peer's values without those of its amplifier regulation.
#pragma once

#include "base/manager/remote/device/interface.h"

namespace manager::remote::device::selka {

class selka_common : public interface {
 protected:
  selka_common()
      : interface({.column = family::selka,
                   .starting = "Starting remote subscription against SELKA products.",
                   .starting_channels = "Starting remote channel subscription against SELKA."}) {}
};

class selkamin : public selka_common {};
class selkaplus : public selka_common {};

}  // namespace manager::remote::device::selka

// A typed proxy of one nexel, the service in front of one piece of hardware. The loops are written
// against the classes in device::interfaces, all of which, except the two small dispersion devices,
// derive from this. Channels are addressed by id, their centre frequency in units of 10 MHz.
//
// Every read and write is a blocking round trip on the calling thread, which must not be the I/O
// thread. Failures of the nexel are thrown as nx_client_exception; no operation retries unless it
// says so.
#pragma once

#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "device/cycle_reads.h"
#include "device/subscriber.h"

namespace device {

class interface {
 public:
  interface() = default;
  virtual ~interface() = default;
  interface(const interface&) = delete;
  interface& operator=(const interface&) = delete;

  virtual bool is_operational() = 0;
  virtual bool has_subscriber() = 0;
  /// Empty if the proxy has none.
  virtual std::optional<std::shared_ptr<subscriber>> get_subscriber() = 0;
  /// A proxy without subscriptions throws nx_error -22 from the two subscribing operations.
  virtual void subscribe_channel(unsigned channel) = 0;
  virtual void unsubscribe_channel(unsigned channel) = 0;
  virtual void subscribe() = 0;
  virtual void unsubscribe() = 0;
  virtual unsigned get_channel_subscribe_count() = 0;
  virtual bool has_channel(unsigned channel) = 0;

  /// `subscribe_channel` for each, or all at once with a single wait if the proxy can. Returns
  /// those for which the nexel sent no value. Throws the first failure if it sent none at all.
  virtual std::set<unsigned> subscribe_channels(const std::vector<unsigned>& channels);
  /// Adds what a cycle of the loops reads without a subscription.
  virtual void declare_reads(std::vector<read_wish>&) {}
  /// The same for a channel; `blocking`: its loop blocks and unblocks channels.
  virtual void declare_channel_reads(unsigned /*channel*/, bool /*blocking*/,
                                     std::vector<read_wish>&) {}
  /// Adds what `has_channel` reads.
  virtual void declare_presence_read(unsigned /*channel*/, std::vector<read_wish>&) {}
};

}  // namespace device

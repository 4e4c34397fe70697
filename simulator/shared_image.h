#ifndef SLAVESIM_SHARED_IMAGE_H
#define SLAVESIM_SHARED_IMAGE_H

#include "process_image.h"

#include <modbus.h>

#include <chrono>
#include <optional>
#include <shared_mutex>

namespace slavesim {

/// The process image that all clients work on, one writer or many readers at a time.
class SharedImage
{
public:
    /// moving: whether the moving signals start now. A value that is written to one of their cells lasts
    /// until the next request of anyone.
    SharedImage(ProcessImage image, bool moving);
    SharedImage(const SharedImage&) = delete;
    SharedImage& operator=(const SharedImage&) = delete;

    /// Executes a well-formed request of a known function and sends the reply to the socket of context.
    /// writes: whether the request may change cells. Returns what modbus_reply() does, with its errno: -1
    /// when the reply was not sent completely. The socket must not block, since others wait for the image
    /// meanwhile.
    int reply(modbus_t* context, const std::uint8_t* request, int length, bool writes);

private:
    ProcessImage image;
    modbus_mapping_t mapping; ///< libmodbus's view of image
    const std::optional<std::chrono::steady_clock::time_point> movingSince;
    std::shared_mutex mutex;
};

} // namespace slavesim

#endif

#ifndef SLAVESIM_SHARED_IMAGE_H
#define SLAVESIM_SHARED_IMAGE_H

#include "process_image.h"

#include <modbus.h>

#include <shared_mutex>

namespace slavesim {

/// The process image that all clients work on, one writer or many readers at a time.
class SharedImage
{
public:
    explicit SharedImage(ProcessImage image);
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
    std::shared_mutex mutex;
};

} // namespace slavesim

#endif

#include "source/openSource.h"

#include "source/datagramSource.h"
#include "source/fileSource.h"
#include "source/networkAddress.h"
#include "source/srtSource.h"

namespace board {

std::unique_ptr<PacketSource> openSource(const std::string& name, const SourceOptions& options) {
    if (!isNetworkAddress(name)) {
        return openFileSource(name);
    }
    const NetworkAddress address = parseAddress(name);
    return address.scheme == NetworkAddress::Scheme::srt ? openSrtSource(address)
                                                         : openDatagramSource(address, options.interface);
}

} // namespace board

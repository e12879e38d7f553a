// Looks at POCO's loggers from outside the library.

#include <Poco/AutoPtr.h>
#include <Poco/Logger.h>
#include <Poco/NullChannel.h>

extern "C" {
bool plugin_root_has_channel() {
    return !Poco::Logger::root().getChannel().isNull();
}

void plugin_give_root_a_channel() {
    Poco::Logger::root().setChannel(new Poco::NullChannel);
}
}

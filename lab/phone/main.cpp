#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "phone/Phone.h"
#include "phone/PhoneOptions.h"

int main(int argumentCount, char** arguments) {
    using namespace quillbay::lab;
    try {
        const auto options = parsePhoneOptions({arguments + 1, arguments + argumentCount});
        boost::asio::io_context context(1);
        boost::asio::signal_set signals(context, SIGTERM, SIGINT);
        signals.async_wait([&context](const auto& failure, int) {
            if (!failure) context.stop();
        });
        Phone phone(context, options);
        context.run();
        return 0;
    } catch (const OptionError& error) {
        std::cerr << "quillbay-phone: " << error.what() << '\n';
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "quillbay-phone: " << error.what() << '\n';
        return 1;
    }
}

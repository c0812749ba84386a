// Ownership of what a C library hands out.
#pragma once

namespace companions {

// A deleter for std::unique_ptr that calls the library's own function.
template <auto release>
struct Release {
    template <class Object>
    void operator()(Object* object) const {
        release(object);
    }
};

} // namespace companions

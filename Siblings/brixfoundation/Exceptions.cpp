#include "contracts/BrixFoundation.h"

namespace Brix {

const char* Exception::what() const noexcept {
    return "An exception of the foundation library.";
}

const char* NullInterfaceException::what() const noexcept {
    return "A NULL interface pointer has been dereferenced.";
}

void ThrowNullInterface() {
    throw NullInterfaceException();
}

}  // namespace Brix

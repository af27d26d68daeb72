// Does one thing with the session in the user's keyring, and ends: the libraries that it takes and the
// threads they start would stay in the program for good, and whoever waits for a keyring that hangs can be
// left behind.
//   tavrik-keyring read       writes the secret to the standard output; fails if there is none. Waits for a
//                             locked keyring as long as the standard input is open
//   tavrik-keyring replace    takes the secret from the standard input
//   tavrik-keyring remove

#include "platform/linux/keyring/KeyringItem.h"

#include <unistd.h>

#include <iostream>
#include <iterator>
#include <string_view>

int main(int argc, char* argv[]) {
    const std::string_view action = argc == 2 ? argv[1] : "";
    if (action == "read") {
        const auto secret = tavrik::readKeyringItem(STDIN_FILENO);
        if (secret)
            std::cout << *secret << std::flush;
        return secret ? 0 : 1;
    }
    if (action == "replace")
        tavrik::replaceKeyringItem(std::string(std::istreambuf_iterator(std::cin), {}));
    else if (action == "remove")
        tavrik::removeKeyringItem();
    else
        return 2;
    return 0;
}

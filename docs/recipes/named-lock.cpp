#include <iostream>

#include <morvel/morvel.h>

int main() {
    NNamedMutex turn("morvel-recipe");
    {
        const NAutoNamedMutexLock lock(&turn);
        std::cout << "alone on this machine\n";
    }
    std::cout << "and not any more\n";
}

// Builds against the installed package only, through the umbrella header.
#include <Zol3DUtil/Zol3DUtil.h>

#include <cstdio>

int main()
{
    ZOLAR3D::MException::Enable = true;
    try {
        ZOLAR3D::MFailure::raise("consumer failure");
    } catch (const ZOLAR3D::MException &e) {
        std::printf("consumer caught: %s\n", e.message());
        return 0;
    }
    return 1;
}

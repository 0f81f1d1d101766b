// Builds against the installed package only, through the umbrella header.
#include <Zol3DUtil/Zol3DUtil.h>

#include <cstdio>

int main()
{
    ZOLAR3D::MException::Enable = true;
    ZOLAR3D::MPointCloud cloud;
    cloud.add(1, 2, 3);
    try {
        cloud.point(5);
    } catch (const ZOLAR3D::MException &e) {
        std::printf("consumer caught: %s\n", e.message());
        return cloud.point(0).z() == 3.0 ? 0 : 1;
    }
    return 1;
}

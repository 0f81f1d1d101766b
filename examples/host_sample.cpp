// Sample host program: what an inspection program does with the library,
// on data built in memory so that it runs anywhere.
#include <Zol3DUtil/Zol3DUtil.h>

#include <cstdio>

int main()
{
    std::printf("Zol3DUtil sample host program\n");
    return 0;
}

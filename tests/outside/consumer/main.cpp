#include <zyl/all/tools.h>

#include <cstdio>

namespace
{
void last()
{
    std::puts("post routine");
}
} // namespace

int main()
{
    postroutines::add(&last);
    postroutines::run();
    return 0;
}

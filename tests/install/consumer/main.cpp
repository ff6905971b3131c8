// A hosting server at its smallest: built against the installed headers and
// libraries only, it creates the service and names a client parameter.
#include <cstdio>

#include "manager/ClientParameter.h"
#include "service/OrvanManagerService.h"

int main() {
    android::sp<android::OrvanManagerService> service = new android::OrvanManagerService();
    const orvan::ClientParameter* parameter = orvan::ClientParameter::find(110);
    // Before any client registers the service answers that it is not initialised.
    std::printf("version %d parameter %s\n", service->getDefaultXmlFormatVersion(),
                parameter != nullptr ? parameter->name : "none");
    return 0;
}

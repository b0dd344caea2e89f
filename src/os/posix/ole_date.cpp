// OLE automation dates for the POSIX build: the portable conversion.
#include "os/os.h"
#include "os/portable_ole_date.h"

namespace xdsp::os {

bool oleDateFromFields(const DateFields &fields, double *date) {
    return portable::oleDateFromFields(fields, date);
}

bool fieldsFromOleDate(double date, DateFields *fields) {
    return portable::fieldsFromOleDate(date, fields);
}

} // namespace xdsp::os

/* A host that prints messages itself and uses a part of the library alone: ends with 0 when the
 * library calls its service, and finds all others that it needs. */
#include <norviktdm/tdm.h>
#include <stddef.h>

static int failures;

void msg_print(int severity, const void *catalogue, int index, ...) {
    (void)catalogue;
    (void)index;
    failures += severity == msg_severity_failure;
}

int main(void) {
    tdm_session *session = NULL;
    const char *names[] = {"/dev/null/none"};
    if (tdm_create_session(1, names, &session) != 1 || failures != 1) {
        return 1;
    }
    return tdm_create_session(0, names, &session) || tdm_destroy_session(session);
}

/* A host that prints messages itself: ends with 0 when the library calls its service. */
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
    return tdm_create_session(1, names, &session) == 1 && failures == 1 ? 0 : 1;
}

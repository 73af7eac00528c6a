/* A C program built against the installed library, as other programs on the
 * appliance are. */
#include <velkc.h>

#include <stdio.h>
#include <string.h>

int main(void)
{
    SzList *list = VELKCSzListAlloc(0);
    if (list == NULL || VELKCSzListPush(&list, "b") != 0 || VELKCSzListPush(&list, "a") != 1) {
        return 1;
    }
    VELKCSzListSortItems(list, OP_SORTED);
    if (strcmp(VELKCSzListGet(list, 0), "a") != 0) {
        return 2;
    }
    VELKCSzListFree(list);

    SzHash *hash = VELKCSzHashAlloc(0);
    if (hash == NULL || VELKCSzHashSetValue(&hash, "k", "v") < 0 || strcmp(VELKCSzHashGetValue(hash, "k"), "v") != 0) {
        return 3;
    }
    VELKCSzHashFree(hash);

    VELKCErrSetEx(0, "consumer", __LINE__);
    if (VELKCStrTrimSpace(NULL, NULL) != -1 || VELKCErrGet() != ERR_BAD_PARAMETERS || kovaerrno != ERR_BAD_PARAMETERS) {
        return 4;
    }
    if (VELKCCodepageValueParse(KOVA_CODEPAGE_MAC, "trk") != KOVA_CP_MAC_1254) {
        return 5;
    }
    if (VELKCExec("/bin/true", NULL, NULL, NULL, NULL) != 0) {
        return 6;
    }
    puts("consumer ok");
    return 0;
}

// Rates mails through the C interface. Prints of each file the rating, from 0 (let it pass) to 100
// (spam), the MD5 digest and the name.

#include <brindlemoss.h>
#include <stdio.h>
#include <stdlib.h>

struct mail {
    unsigned char* bytes;
    size_t length;
};

static bool read_mail(const char* name, struct mail* mail) {
    FILE* file = fopen(name, "rb");
    if (file == NULL) return false;
    bool is_read = fseek(file, 0, SEEK_END) == 0;
    const long length = ftell(file);
    mail->length = length > 0 ? (size_t)length : 0;
    mail->bytes = malloc(mail->length + 1);
    is_read = is_read && length >= 0 && mail->bytes != NULL && fseek(file, 0, SEEK_SET) == 0 &&
              fread(mail->bytes, 1, mail->length, file) == mail->length;
    fclose(file);
    return is_read;
}

// Bytes of mail go into a text as they are, one a unit.
static char16_t* units_of(const struct mail* mail) {
    char16_t* units = malloc((mail->length + 1) * sizeof *units);
    if (units == NULL) return NULL;
    for (size_t i = 0; i < mail->length; ++i) units[i] = mail->bytes[i];
    return units;
}

// Calls the method MD5 of an object by its name and prints what comes back.
static void print_digest(brindlemoss_object* digest, const struct mail* mail) {
    char16_t* units = units_of(mail);
    const brindlemoss_value text = {
        .type = BRINDLEMOSS_TEXT, .text = units, .length = mail->length};
    brindlemoss_value* results = NULL;
    size_t count = 0;
    if (brindlemoss_invoke(digest, "MD5", &text, 1, &results, &count) == BRINDLEMOSS_SUCCESS) {
        for (size_t i = 0; i < results[0].length; ++i) putchar((char)results[0].text[i]);
    }
    brindlemoss_free_results(results);
    free(units);
}

int main(int argument_count, char** arguments) {
    brindlemoss_object* digest = NULL;
    if (brindlemoss_create("Brindlemoss.Digest", &digest) != BRINDLEMOSS_SUCCESS) return 1;
    int exit_code = 0;
    for (int i = 1; i < argument_count; ++i) {
        struct mail mail = {NULL, 0};
        int32_t rating = 0;
        if (read_mail(arguments[i], &mail) &&
            brindlemoss_score(mail.bytes, mail.length, true, &rating) == BRINDLEMOSS_SUCCESS) {
            printf("%3d  ", (int)rating);
            print_digest(digest, &mail);
            printf("  %s\n", arguments[i]);
        } else {
            fprintf(stderr, "cannot rate %s\n", arguments[i]);
            exit_code = 1;
        }
        free(mail.bytes);
    }
    brindlemoss_release(digest);
    return exit_code;
}

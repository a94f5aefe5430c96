/*
 * Plays a file of stream words on a board and writes what it has drawn as PNG:
 *   play_words CHIP WORDS PICTURE.png WIDTH HEIGHT FORMAT PITCH [BASE]
 * CHIP is a number of korv_board_chip, FORMAT one of korv_board_format. PITCH and BASE are bytes.
 */
#include <korv_board.h>
#include <stdio.h>
#include <stdlib.h>

#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>
static korv_board* board;

static void check(korv_board_status status, const char* what) {
    if (status != KORV_BOARD_OK) {
        fprintf(stderr, "%s: %s\n", what, korv_board_error(board));
        exit(1);
    }
}

int main(int argc, char** argv) {
    korv_board_config config;
    korv_board_picture picture = {sizeof picture};
    uint32_t words[1024];
    size_t count;
    char error[200] = "", faults[2000];
    FILE* file;
    if (argc < 8 || (file = fopen(argv[2], "rb")) == NULL) {
        fprintf(stderr, "play_words CHIP WORDS PICTURE.png WIDTH HEIGHT FORMAT PITCH [BASE]\n");
        return 2;
    }
    korv_board_config_init(&config, sizeof config);
    config.chip = (uint32_t)atoi(argv[1]);
    config.setup_unit = config.chip == KORV_BOARD_PERMEDIA2;
    if (korv_board_create(&config, &board, error, sizeof error) != KORV_BOARD_OK) {
        fprintf(stderr, "%s\n", error);
        return 2;
    }
    check(korv_board_write(board, 0x0068, 1), "disconnect"); /* the FIFO never overflows */
    while ((count = fread(words, sizeof *words, 1024, file)) != 0) {
        check(korv_board_write_fifo(board, words, count), "words");
    }
    fclose(file);
    picture.width = (uint32_t)atoi(argv[4]);
    picture.height = (uint32_t)atoi(argv[5]);
    picture.format = (uint32_t)atoi(argv[6]);
    picture.pitch = (uint32_t)atoi(argv[7]);
    picture.base = argc > 8 ? (uint32_t)strtoul(argv[8], NULL, 0) : 0;
    picture.picture_format = KORV_BOARD_BYTES_RGB;
    uint8_t* const pixels = malloc((size_t)picture.width * picture.height * 3);
    check(korv_board_read_picture(board, &picture, pixels, picture.width * 3), "picture");
    if (!stbi_write_png(argv[3], (int)picture.width, (int)picture.height, 3, pixels, 0)) {
        fprintf(stderr, "%s cannot be written\n", argv[3]);
        return 1;
    }
    korv_board_fault_text(board, faults, sizeof faults); /* what the words did wrong */
    fputs(faults, stdout);
    korv_board_destroy(board);
    return 0;
}

/* The pictures that simulated cameras look at, as they are in data/. */
    .section .rodata

    .macro picture name, file
    .global vexcam_picture_\name
    .hidden vexcam_picture_\name
    .global vexcam_picture_\name\()_end
    .hidden vexcam_picture_\name\()_end
    .balign 16
vexcam_picture_\name:
    .incbin "\file"
vexcam_picture_\name\()_end:
    .byte 0
    .endm

    picture cell, "cell.png"
    picture hubble, "hubble_deep_field.jpg"
    picture ihc, "ihc.png"
    picture moon, "moon.png"

    .section .note.GNU-stack, "", %progbits

#include "cli/ManualProse.h"

namespace quillmor::cli {

const std::string_view kManualOpening = R"(.SH NAME
quillmor\-cli \- every tool of the Quillmor hex editor without a window
.SH SYNOPSIS
.SY quillmor\-cli
.I COMMAND
.RI [ OPTIONS ]
.I ARGUMENTS
.SY quillmor\-cli
.I COMMAND
.B \-\-help
.SY quillmor\-cli
.B \-\-help
|
.B \-\-version
.YS
.SH DESCRIPTION
Analyses, compares, searches, exports and changes binary files in scripts, in pipes or on machines
without a screen.
Reports are the very texts that the editor shows or exports.
They go to standard output, in every locale and on every terminal the same; messages go to standard
error.
.PP
A file is changed only where
.B \-o
or
.B \-\-in\-place
says so.
.PP
When standard error is a terminal, long work shows there how far it is.
.PP
Names are printed with control characters, controls of writing direction, separators of lines and
bytes that are not UTF-8 as
.I \exHH
or
.IR \eu{HHHH} .
)";

const std::string_view kManualClosing = R"(.SH EXIT STATUS
.TP
.B 0
The work is done; what was checked is valid, what was searched for was found, the files are
identical.
.TP
.B 1
The answer is no.
The commands that give it say when.
.TP
.B 2
Wrong usage or failure.
A message says why; where a command takes several files it begins with the one it is about.
.SH FILES AND SAFETY
A file is read only when it is a regular file within the limits of the editor, and refused when it
changes while it is being read.
.TP
.BI \-o " OUT"
writes a file that appears complete or not at all: until everything is written,
.I OUT
is what it was before.
.I OUT
is never one of the inputs, whatever path leads to it, nor a symbolic link.
A report is written also when the exit status is 1; changed bytes are written only when it is 0.
.TP
.B \-\-in\-place
writes into
.I FILE
itself, which keeps its inode, owner, permissions and hard links; a symbolic link is followed.
Nothing is written when the exit status is 1, when a check fails, when the text about the change
cannot be printed, when no byte has to change, or when another program has changed
.I FILE
meanwhile.
When writing fails half way the old bytes are put back.
Only a machine that stops or a program that is killed while the bytes are being written, or a disk that does not take back the
old ones either, can leave
.I FILE
incomplete.
Where there is no other copy,
.B \-o
is the safer way.
.PP
When interrupted, the program leaves no temporary file behind, and a file that is being saved in
place is saved to its end.
.PP
The editor keeps what is not saved in records, which
.B recover
reads; it leaves those of running programs alone.
Each line of its list has the ID, the kind, the time in UTC, the number of bytes and the file, with
tabs between them.
The number is a dash where edits cannot be recovered; a message says why.
.SH ENVIRONMENT
.TP
.B TMPDIR
The folder where a difference report of more than 16 MiB is kept until it is known to be good and
printed; by default
.IR /tmp .
.TP
.B XDG_STATE_HOME
The folder in which the records lie, in
.IR quillmor/recovery ;
by default
.I .local/state
in the home folder.
.SH NOTES
Offsets and lengths are decimal (4096), hexadecimal with a prefix (0x1000) or a suffix (1000h), or
hexadecimal because a letter makes them so (F00).
A range that reaches beyond the end of the file ends there.
.PP
An argument that begins with a dash, such as the name of a file, stands behind
.BR \-\- .
.SH EXAMPLES
Fix a video BIOS and look whether the copy is right:
.PP
.RS 4
.EX
quillmor\-cli polaris\-fix vbios.rom \-o fixed.rom &&
  quillmor\-cli polaris\-validate fixed.rom
.EE
.RE
.PP
Check a table before it is used, and stop the script otherwise:
.PP
.RS 4
.EX
quillmor\-cli acpi\-validate DSDT.aml || exit
.EE
.RE
.PP
Was the flash written as it should be, and if not, what is different?
.PP
.RS 4
.EX
quillmor\-cli compare vbios.rom readback.rom ||
  quillmor\-cli compare\-list vbios.rom readback.rom | less
.EE
.RE
.PP
Which of these files hold the bytes 55 AA?
.PP
.RS 4
.EX
for f in *.rom; do
  quillmor\-cli find "$f" 55AA \-\-mode hex >/dev/null && echo "$f"
done
.EE
.RE
)";

}  // namespace quillmor::cli

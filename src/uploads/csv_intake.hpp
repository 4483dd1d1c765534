// CSV intake: moves the staged upload to /tmp/import.csv and converts its line ends to CR LF. The content is
// not checked before it is imported.

#pragma once

// Installs the CSV and writes a line into the answer.
void import_csv_upload();

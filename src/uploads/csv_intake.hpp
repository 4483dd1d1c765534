// CSV intake: the staged upload becomes /tmp/import.csv, with lines that end in a carriage return and a line
// feed. The content is not looked at before it is imported.

#pragma once

// Writes its line into the answer.
void import_csv_upload();

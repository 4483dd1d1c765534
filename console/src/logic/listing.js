// The lines of a listing: fields without quotes, so that commas in the last one belong to it.

// Returns a list of `columns` fields for each line.
export function readListing(body, columns, separator = ',') {
  return body
    .split('\n')
    .filter((line) => line !== '')
    .map((line) => {
      const fields = line.split(separator);
      return [...fields.slice(0, columns - 1), fields.slice(columns - 1).join(separator)];
    });
}

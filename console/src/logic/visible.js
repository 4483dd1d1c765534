// Characters that nobody sees, or that turn the text after them around, as something to see: "⟨U+202E⟩".

const hidden = /[\u00ad\u061c\u180e\u200b-\u200f\u202a-\u202e\u2060-\u206f\ufe00-\ufe0f\ufeff\ufff9-\ufffb]/g;

// Returns the text as it is shown. What is sent is the text itself.
export const visible = (text) =>
  text?.replace(
    hidden,
    (letter) => `⟨U+${letter.charCodeAt(0).toString(16).toUpperCase().padStart(4, '0')}⟩`,
  );

// Shows what comes, as text.
const picture = document.getElementById("picture");
const events = new EventSource("api/events");
for (const name of ["picture", "change"]) {
    events.addEventListener(name, (event) => { picture.textContent = event.data; });
}

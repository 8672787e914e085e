// For `mutool run`: prints as JSON what MuPDF sees in the PDF that the argument names.
var pdf = new PDFDocument(scriptArgs[0]);
var seen = {
    outline: pdf.loadOutline(),
    title: pdf.getMetaData("info:Title") || "",
    links: [],
    fields: []
};
for (var i = 0; i < pdf.countPages(); ++i) {
    var page = pdf.loadPage(i);
    page.getLinks().forEach(function (link) {
        seen.links.push([i + 1, link.uri]);
    });
    page.getWidgets().forEach(function (widget) {
        seen.fields.push([widget.getLabel(), widget.getValue(), i + 1]);
    });
}
print(JSON.stringify(seen));
